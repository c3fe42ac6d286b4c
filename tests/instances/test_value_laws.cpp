// What holds for numbers, menus and texts alike, in either language of expressions.

#include <common/ListFixture.h>

#include <EVL/EVL.h>
#include <KIT/KIT_TokenString.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

const ZEL_Type *const theKinds[] = {&ZEL_FLT, &ZEL_ORD, &ZEL_STRING};

std::vector<TRK_ExprLanguage> languages()
{
    return SNKisPythonBuiltIn()
               ? std::vector<TRK_ExprLanguage>{TRK_LANGUAGE_NATIVE, TRK_LANGUAGE_PYTHON}
               : std::vector<TRK_ExprLanguage>{TRK_LANGUAGE_NATIVE};
}

class ValueLaws : public testing::Test, ManagerSettings
{
protected:
    ValueLaws() { takeMessages(); }
    ~ValueLaws() override
    {
        ZEL_Parm::setAlwaysHardenFlag(false);
        EVL::theErrNo[theThread] = EVL::EVL_OK;
        takeMessages();
    }

    const int theThread = BASgetSTID();
};

/// One component that random operations set, with what must be true after each of them.
class RandomValue : public OneParm
{
public:
    RandomValue(const ZEL_Type &type, unsigned seed) : OneParm(type, 1), myRandom(seed) { build(); }

    /// What was done, and how it is now.
    std::string state() const
    {
        std::string out = myDone;
        const TRK_Channel *channel = instance->getChannel(0);
        for (int i = 0; channel && i < channel->getNSegments(); ++i) {
            const TRK_Segment &segment = *channel->getSegment(i);
            out += "; " + std::to_string(segment.getStart()) + " " + segment.getExpression() + " " +
                   std::to_string(segment.getExprLanguage()) + " " +
                   std::to_string(segment.getInValue());
        }
        return out + (channel && channel->getPendingFlag() ? "; pending" : "");
    }
    /// Empty unless the operation broke a law.
    std::string step()
    {
        myTime = pick(3);
        TRK_Manager::getContext().setCommitPreference(pick(2) == 0);
        switch (pick(4)) {
        case 0: return setExpression();
        case 1: return harden();
        default: return setValue();
        }
    }

private:
    int pick(int count) { return int(myRandom() % unsigned(count)); }
    std::string textAt(double time) const
    {
        KIT_String text;
        instance->getValue(list.get(), time, text, 0, true, BASgetSTID());
        return text.toStdString();
    }
    std::string expressionAt(double time) const
    {
        KIT_String text;
        instance->getExpression(time, text, 0, false, BASgetSTID());
        return text.toStdString();
    }
    bool isPending(double time) const
    {
        return instance->getChanState(time, 0) == ZEL_CHAN_PENDING;
    }
    void put(const std::string &value, bool replace, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
    {
        if (addKey == ZEL_ADDKEY_HARDEN && keySet == ZEL_KEYSET_PREFERENCE) {
            ZEL_Parm::setAlwaysHardenFlag(true);
            parm->setValue(myTime, value.c_str(), TRK_MEANING_LITERAL, replace, 0,
                           ZEL_ADDKEY_PENDING, false);
            ZEL_Parm::setAlwaysHardenFlag(false);
        } else {
            instance->setValue(myTime, value.c_str(), TRK_MEANING_LITERAL, replace, 0, addKey,
                               keySet);
        }
    }

    std::string setExpression()
    {
        const bool isText = parm->getType().isStringType();
        const std::vector<TRK_ExprLanguage> known = languages();
        const TRK_ExprLanguage language = known[std::size_t(pick(int(known.size())))];
        const bool python = language == TRK_LANGUAGE_PYTHON;
        const char *text = !isText ? "1 + 2" : python ? "''.join('ab')" : "strcat('a', 'b')";
        if (isText && pick(2) == 0) {
            instance->setValue(myTime, text, python ? TRK_MEANING_PYTHON : TRK_MEANING_NATIVE,
                               false, 0, ZEL_AddKeyType(pick(3)), ZEL_KeySetType(pick(3)));
        } else {
            instance->setExpression(myTime, text, language, 0, true, pick(3) == 0);
        }
        myDone = "expression at " + std::to_string(myTime);
        return textAt(myTime) == (isText ? "ab" : "3") ? "" : "its value is " + textAt(myTime);
    }

    std::string harden()
    {
        const bool force = pick(2) == 0;
        const std::string before = textAt(myTime);
        const bool wasPending = instance->changePending(0) != 0;
        const std::string expression = expressionAt(myTime);
        instance->hardenChanges(myTime, 0, force, nullptr, nullptr);
        myDone = "harden at " + std::to_string(myTime) + (force ? " by force" : "");
        const TRK_Channel *channel = instance->getChannel(0);
        return textAt(myTime) != before ? "the value was " + before + ", is " + textAt(myTime)
               : isPending(myTime) || (channel && !force && channel->getPendingFlag())
                   ? "still pending"
               // A text is stored as an expression in any case.
               : !wasPending && !parm->getType().isStringType() &&
                       expressionAt(myTime) != expression
                   ? "the expression was " + expression
                   : "";
    }

    std::string setValue()
    {
        const bool replace = pick(2) == 0;
        const int number = pick(5);
        const std::string value =
            number == 0 && parm->getType().isStringType() ? "it's \"two\"" : std::to_string(number);
        const auto addKey = ZEL_AddKeyType(pick(3));
        const auto keySet = ZEL_KeySetType(pick(3));
        const std::string before = textAt(myTime);
        put(value, replace, addKey, keySet);
        myDone = "set " + value + " at " + std::to_string(myTime) + (replace ? " replacing" : "") +
                 " key " + std::to_string(addKey) + std::to_string(keySet);
        if (textAt(myTime) != value) {
            return "its value is " + textAt(myTime);
        }
        const TRK_Channel *channel = instance->getChannel(0);
        if (channel && before != value && addKey != ZEL_ADDKEY_PENDING && isPending(myTime)) {
            return "still pending";
        }
        if (replace && !parm->getType().isStringType()) {
            return wasReplaced(value);
        }
        // The same value once more, in any way, changes nothing.
        const std::string once = state();
        put(value, false, ZEL_AddKeyType(pick(3)), ZEL_KeySetType(pick(3)));
        return state() == once ? "" : "after the same again: " + state();
    }

    /// A channel that is one segment from its only key then has the value at every time.
    std::string wasReplaced(const std::string &value) const
    {
        const TRK_Channel *channel = instance->getChannel(0);
        if (!channel) {
            return "";
        }
        if (!channel->getExpressionSegment(myTime)->isInterpolated()) {
            return "an expression drives it";
        }
        if (channel->getNSegments() == 1 && !channel->getPendingFlag()) {
            for (const double time : {-1.0, 0.5, 9.0}) {
                if (textAt(time) != value) {
                    return "at another time it is " + textAt(time);
                }
            }
        }
        return "";
    }

    std::mt19937 myRandom;
    double myTime = 0.0;
    std::string myDone;
};

} // namespace

TEST_F(ValueLaws, HoldForAnyOrderOfSetsExpressionsAndHardening)
{
    const auto run = [&](const ZEL_Type &type, unsigned seed) {
        RandomValue value(type, seed);
        for (int i = 0; i < 100; ++i) {
            const std::string before = value.state();
            const std::string broken = value.step();
            ASSERT_EQ(broken, "") << seed << ": " << before << "\n-> " << value.state();
        }
        EXPECT_EQ(EVL::theErrNo[theThread], EVL::EVL_OK);
        EXPECT_EQ(takeMessages(), "");
    };
    for (const ZEL_Type *type : theKinds) {
        for (unsigned seed = 1; seed <= 40; ++seed) {
            run(*type, seed);
        }
    }
}

TEST_F(ValueLaws, AHandlerMayDeleteTheChannelThatIsBeingSet)
{
    struct Deleter
    {
        static void changed(void *data, TRK_Channel *channel)
        {
            auto &self = *static_cast<Deleter *>(data);
            ASSERT_EQ(channel->getCollection(), &self.value.channels);
            if (self.random() % 3 == 0) {
                self.value.channels.deleteChannel(channel);
                ++self.deleted;
            }
        }
        RandomValue &value;
        std::mt19937 random;
        int deleted = 0;
    };
    for (const ZEL_Type *kind : theKinds) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            RandomValue value(*kind, seed);
            Deleter deleter{value, std::mt19937(seed)};
            TRKgetEventManager().addListener(&deleter, Deleter::changed);
            for (int i = 0; i < 100; ++i) {
                value.step(); // its laws hold for channels that stay
                ASSERT_EQ(value.instance->getChannel(0), value.channels.getChannel("p"));
            }
            TRKgetEventManager().removeListener(&deleter, Deleter::changed);
            EXPECT_GT(deleter.deleted, 2);
        }
    }
}

TEST_F(ValueLaws, ADefaultInTheCollectionsLanguageIsOneOfThatLanguage)
{
    for (const ZEL_Type *type : theKinds) {
        for (const TRK_ExprLanguage language : languages()) {
            const bool text = type->isStringType();
            OneParm p(*type, 1);
            p.channels.setExprLanguage(language);
            p.description.defaults[0] =
                ZEL_Default(0.0, text ? "'1' + '2'" : "3 * 4", TRK_MEANING_COLLECTION);
            p.build();
            p.list->getParmPtr(0)->getInstance()->revertToDefaults(true);
            ASSERT_NE(p.instance->getChannel(0), nullptr);
            EXPECT_EQ(p.instance->getChannel(0)->getExprLanguageAtTime(0.0), language);
            EXPECT_EQ(p.eval(), 12.0);
            EXPECT_TRUE(text || p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_EXPRESSION, true));
        }
    }
}

TEST_F(ValueLaws, AnExpressionErrorIsThatOfTheComponentThatHasIt)
{
    for (const ZEL_Type *type : theKinds) {
        for (const int before : {int(EVL::EVL_OK), int(EVL::EVL_CYCLE)}) {
            BuiltParm p(*type, 3);
            p.setText("7");
            EVL::theErrNo[theThread] = before;
            KIT_TokenString tokens;
            p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, true, theThread);
            EXPECT_EQ(takeMessages(), "") << "nobody here has an error";
            EXPECT_EQ(EVL::theErrNo[theThread], before);

            p.animate("ch(\"zz\")", 1);
            EVL::theErrNo[theThread] = before;
            takeMessages();
            p.instance->getMagicString(tokens, p.list.get(), 3, 0.0, true, theThread);
            ASSERT_EQ(KITgetErrorManager().entries(), 1);
            EXPECT_STREQ(KITgetErrorManager().getError(0).text.c_str(), "p2")
                << KITgetErrorManager().getError(0).code;
            EXPECT_EQ(EVL::theErrNo[theThread],
                      before != EVL::EVL_OK ? before : int(EVL::EVL_UNKNOWN_CHANNEL));
            takeMessages();
        }
    }
}

TEST_F(ValueLaws, AnIndexOutsideTheVectorIsToldAndChangesNothing)
{
    for (const ZEL_Type *type : theKinds) {
        BuiltParm p(*type, 2);
        p.instance->clearAllDirtyFlags();
        for (const int outside : {2, -1}) {
            p.set(9.0, outside);
            p.setText("9", outside);
            p.animate("1 + 1", outside);
            EXPECT_EQ(takeMessages(), "ZEL 21; ZEL 21; ZEL 21");
            EXPECT_TRUE(p.instance->areAllFlagsClean());
            EXPECT_EQ(p.eval(outside), 0.0);
            double value = 5.0;
            std::int64_t integer = 5;
            KIT_String text("kept", true);
            p.instance->getDefaultValue(value, outside);
            p.instance->getDefaultValue(integer, outside);
            p.instance->getDefaultValue(text, outside);
            EXPECT_TRUE(value == 5.0 && integer == 5 && text == "kept");
            EXPECT_FALSE(p.instance->isDefault(outside, ZEL_DEFAULT_MAGIC, true));
        }
    }
}

TEST_F(ValueLaws, CopiesHaveValuesOfTheirOwn)
{
    for (const ZEL_Type *type : theKinds) {
        BuiltParm p(*type, 3), smaller(*type, 2), larger(*type, 4);
        smaller.build();
        larger.build();
        constexpr std::int64_t theHuge = std::int64_t(1) << 40;
        for (int i = 0; i < 3; ++i) {
            p.setInteger(theHuge + i, i);
        }
        smaller.instance->adopt(*p.instance);
        larger.instance->adopt(*p.instance);
        const ZEL_Parm copy(p.parm, p.list.get());
        const std::unique_ptr<ZEL_Instance> twin(p.instance->duplicateSelf(p.parm));
        p.setInteger(7, 1);
        std::int64_t copied = 0;
        twin->getValue(nullptr, 0.0, copied, 1, 1);
        EXPECT_EQ(copied, theHuge + 1);
        copy.getValue(0.0, copied, 2, 1);
        EXPECT_EQ(copied, theHuge + 2);
        EXPECT_EQ(smaller.eval(1), double(theHuge + 1));
        EXPECT_EQ(larger.eval(2), double(theHuge + 2));
        EXPECT_EQ(larger.eval(3), 0.0);
        EXPECT_TRUE(smaller.instance->getDefaultsInitFlag());
    }
}

TEST_F(ValueLaws, HardeningKeysWhatIsPendingAtThatTimeAndMatches)
{
    TRK_Manager::getContext().setCommitPreference(false);
    for (const ZEL_Type *type : theKinds) {
        BuiltParm p(*type, 1);
        p.instance->addChannel(0);
        const TRK_Channel *channel = p.instance->getChannel(0);
        p.setText("3", 0, TRK_MEANING_LITERAL, 2.0);
        KIT_Array<TRK_ChannelRef> collected;
        p.instance->hardenChanges(2.0, 0, false, nullptr, &collected);
        EXPECT_EQ(collected.entries(), 1);
        p.instance->hardenChanges(2.0, 0, false, "other*", nullptr);
        EXPECT_EQ(p.instance->getChanState(2.0, 0), ZEL_CHAN_PENDING);
        p.instance->hardenChanges(2.0, 0, false, "p*", nullptr);
        EXPECT_EQ(p.instance->getChanState(2.0, 0), ZEL_CHAN_KEY);
        EXPECT_EQ(p.eval(0, 2.0), 3.0);

        // Pending at another time: hardening here drops it.
        p.setText("8", 0, TRK_MEANING_LITERAL, 3.0);
        p.instance->hardenChanges(5.0, 0, false, nullptr, nullptr);
        EXPECT_FALSE(channel->getPendingFlag());
    }
}

TEST_F(ValueLaws, CurrentDefaultsComeAndGo)
{
    for (const ZEL_Type *type : theKinds) {
        OneParm p(*type, 1);
        p.description.defaults[0] = type->isStringType() ? ZEL_Default(0.0, "2") : ZEL_Default(2.0);
        p.build();
        const auto is = [&](ZEL_DefaultType of) { return p.instance->isDefault(0, of, true); };
        EXPECT_TRUE(is(ZEL_DEFAULT_FACTORY_VALUE));
        p.setInteger(6);
        EXPECT_FALSE(is(ZEL_DEFAULT_MAGIC));
        p.instance->overwriteDefault(0.0, 0);
        EXPECT_TRUE(is(ZEL_DEFAULT_MAGIC) && is(ZEL_DEFAULT_CURRENT));
        EXPECT_FALSE(is(ZEL_DEFAULT_FACTORY_VALUE));
        p.setInteger(9);
        EXPECT_FALSE(is(ZEL_DEFAULT_CURRENT));
        p.instance->revertToDefaults(false);
        EXPECT_EQ(p.eval(), 6.0);
        p.instance->restoreFactoryDefault(0);
        p.instance->revertToDefault(0);
        EXPECT_EQ(p.eval(), 2.0);

        // A keyed component keeps its channel and gets the default as a key.
        p.instance->addChannel(0);
        p.setInteger(8, 0, 1.0, ZEL_ADDKEY_HARDEN);
        p.instance->setValueToDefault(2.0, 0, ZEL_ADDKEY_HARDEN);
        p.instance->revertToDefaults(false);
        ASSERT_NE(p.instance->getChannel(0), nullptr);
        EXPECT_TRUE(p.instance->getChannel(0)->isAtKey(2.0));
        EXPECT_EQ(p.eval(0, 2.0), 2.0);
        p.instance->revertToDefault(0);
        EXPECT_EQ(p.instance->getChannel(0), nullptr);
    }
}

TEST_F(ValueLaws, MagicStringsGoFromTheLastComponentToTheFirst)
{
    for (const ZEL_Type *type : theKinds) {
        OneParm p(*type, 3);
        p.description.defaults[0] = ZEL_Default(1.0, type->isStringType() ? "1" : nullptr);
        p.build();
        const auto tokens = [&](bool all) {
            KIT_TokenString found;
            const bool differs = p.instance->getMagicString(found, p.list.get(), 3, 0.0, all, 1);
            EXPECT_EQ(differs, !found.isEmpty() && !all);
            return found;
        };
        EXPECT_TRUE(tokens(false).isEmpty()) << "nothing for defaults";
        KIT_TokenString defaults, changed;
        for (int i = 0; i < 3; ++i) {
            defaults.append('d');
        }
        EXPECT_TRUE(tokens(true) == defaults);
        p.setInteger(7, 2);
        type == &ZEL_FLT   ? changed.append(7.0)
        : type == &ZEL_ORD ? changed.append(7)
                           : changed.append("7");
        changed.append('d');
        changed.append('d');
        EXPECT_TRUE(tokens(false) == changed);
    }
}

TEST_F(ValueLaws, StreamsCarryOptionsAndReplaceChannels)
{
    for (const ZEL_Type *type : theKinds) {
        for (const bool binary : {false, true}) {
            BuiltParm p(*type, 2), q(*type, 2);
            q.build();
            p.setInteger(5, 1);
            p.instance->setLockedFlag(0, true);
            p.instance->setAutoScopedFlag(0, true);
            p.instance->setAutoSelectFlag(0, false);
            ASSERT_NE(q.animate("$F", 1), nullptr);
            ASSERT_TRUE(q.load(p.saved(binary), binary));
            EXPECT_EQ(q.saved(binary), p.saved(binary));
            EXPECT_TRUE(q.instance->getLockedFlag(0) && q.instance->getSaveAutoSelectFlag());
            // A value deletes the channel in a text; a packet only unlinks it.
            EXPECT_EQ(q.instance->getChannel(1), nullptr);
            EXPECT_EQ(q.channels.entries(), binary ? 1 : 0);
            EXPECT_EQ(q.eval(1), 5.0);
            // Without options a stream ends all locks but those of numbers.
            ASSERT_TRUE(q.load("( 1 1 )"));
            EXPECT_EQ(q.instance->getLockedFlag(0), type == &ZEL_FLT);
        }
    }
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(ValueLaws, DamagedStreamsLoadOrFailWithAMessage)
{
    const auto tryLoad = [](const ZEL_Type &type, const std::string &data, bool binary) {
        BuiltParm p(type, 3);
        p.animate("$F", 1);
        takeMessages();
        const bool loaded = p.load(data, binary);
        EXPECT_TRUE(loaded || takeMessages() != "") << data;
        p.eval(1);
        takeMessages();
        return loaded;
    };
    for (const ZEL_Type *type : {&ZEL_FLT, &ZEL_ORD, &ZEL_TOGGLE, &ZEL_STRING}) {
        for (const bool binary : {false, true}) {
            BuiltParm source(*type, 3);
            source.animate("$F", 1);
            source.setInteger(1, 2);
            source.instance->setLockedFlag(0, true);
            const std::string data = source.saved(binary);
            std::size_t failures = 0;
            for (std::size_t at = 0; at < data.size(); ++at) {
                failures += tryLoad(*type, data.substr(0, at), binary) ? 0 : 1;
                for (int value = 0; value < 256; value += 5) {
                    std::string damaged = data;
                    damaged[at] = char(value);
                    tryLoad(*type, damaged, binary);
                }
            }
            EXPECT_GT(failures, data.size() / 2);
        }
    }
}
