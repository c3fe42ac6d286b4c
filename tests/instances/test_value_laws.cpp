// What holds for numbers, menus and texts alike, in either language of expressions.

#include <common/ListFixture.h>

#include <EVL/EVL.h>
#include <KIT/KIT_TokenString.h>
#include <SNK/SNK_Python.h>
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

class ValueLaws : public testing::Test
{
protected:
    ValueLaws() { takeMessages(); }
    ~ValueLaws() override
    {
        TRK_Manager::getContext().setCommitPreference(true);
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
            OneParm p(*type, 3);
            p.build();
            p.instance->setValue(0.0, "7", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                                 ZEL_KEYSET_PREFERENCE);
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
