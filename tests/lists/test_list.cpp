#include <common/ListFixture.h>
#include <common/Threads.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <ZEL/ZEL_NameTable.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <random>
#include <utility>

namespace
{

ZEL_Name theTranslate("t", "Translate");
ZEL_Name theScale("scale", "Scale");
ZEL_Name theCopies("copies", "Copies");
ZEL_Name theExtra("extra", "Extra");

ZEL_Template theTemplates[] = {ZEL_Template(ZEL_XYZ, 3, &theTranslate),
                               ZEL_Template(ZEL_FLT, 1, &theScale),
                               ZEL_Template(ZEL_INT, 1, &theCopies), ZEL_Template()};
ZEL_Template theOthers[] = {
    ZEL_Template(ZEL_INT, 1, &theCopies), ZEL_Template(ZEL_FLT, 1, &theScale),
    ZEL_Template(ZEL_XYZ, 3, &theTranslate), ZEL_Template(ZEL_FLT, 1, &theExtra), ZEL_Template()};
ZEL_Template theExtraAlone[] = {ZEL_Template(ZEL_FLT, 1, &theExtra), ZEL_Template()};
ZEL_Template theTerminator[] = {ZEL_Template()};

} // namespace

TEST(NameTable, AgreesWithAnOrderedMapThroughAnyHistory)
{
    std::mt19937 random(7);
    for (int keys : {1, 2, 3, 5, 40, 700}) {
        ZEL_NameTable table;
        std::map<std::string, int> model;
        for (int step = 0; step < 4000; ++step) {
            const std::string key = "name" + std::to_string(random() % unsigned(keys));
            const KIT_StringHolder holder(key.c_str());
            const int value = int(random() % 50);
            switch (random() % 5) {
            case 0:
            case 1:
                table.insert(holder, value);
                model[key] = value;
                break;
            case 2: {
                const auto found = model.find(key);
                const int expected = found == model.end() ? value : found->second;
                EXPECT_EQ(table.removeIfValue(holder, expected), found != model.end());
                if (found != model.end()) {
                    EXPECT_FALSE(table.removeIfValue(holder, expected));
                    model.erase(found);
                }
                break;
            }
            case 3: EXPECT_FALSE(table.removeIfValue(holder, -7)); break;
            default:
                // Now and then runs of values, side by side and apart.
                for (int i = step % 50 == 0 ? 12 : 0, closed = value; i >= 0 && step % 10 == 0;
                     --i) {
                    closed = i % 5 == 0 ? int(random() % 50)
                                        : std::max(0, closed + int(random() % 4) - 2);
                    table.shiftAbove(closed);
                    for (auto &entry : model) {
                        entry.second -= entry.second > closed;
                    }
                }
                // A tail of values, erased from its last to its first.
                for (int last = 50; last > value && step % 20 == 0; --last) {
                    for (auto at = model.begin(); at != model.end();) {
                        if (at->second == last) {
                            table.removeIfValue(KIT_StringHolder(at->first.c_str()), last);
                        }
                        at = at->second == last ? model.erase(at) : std::next(at);
                    }
                    table.dropLast(last);
                }
            }
            const auto found = model.find(key);
            ASSERT_EQ(table.find(holder), found == model.end() ? -1 : found->second);
            ASSERT_EQ(table.entries(), model.size());
        }
        for (const auto &[key, value] : model) {
            EXPECT_EQ(table.find(KIT_StringRef(key.c_str())), value);
        }
    }
    ZEL_NameTable empty;
    EXPECT_EQ(empty.find(KIT_StringRef("x")), -1);
    EXPECT_EQ(empty.find(KIT_StringRef()), -1);
}

TEST(Lists, FindByEveryName)
{
    TRK_Collection channels;
    ZEL_ParmList list(theTemplates, &channels, nullptr, nullptr, "", false);
    EXPECT_EQ(list.getEntries(), 3);
    EXPECT_EQ(list.getParmIndex("scale"), 1);
    EXPECT_EQ(list.getParmIndex("tx"), -1) << "a channel token is no token";
    EXPECT_EQ(list.getParmIndex(KIT_StringRef()), -1);
    EXPECT_EQ(list.getParmIndex(theCopies), 2);
    EXPECT_EQ(list.getParmIndex(list.getParmPtr(2)), 2);
    EXPECT_EQ(list.getParmPtr(3), nullptr);
    EXPECT_EQ(list.getParmPtr(-1), nullptr);
    int sub = -5;
    EXPECT_EQ(list.getParmIndexFromChannel("tz", &sub), 0);
    EXPECT_EQ(sub, 2);
    EXPECT_EQ(list.getParmIndexFromChannel("tw", &sub), -1);
    EXPECT_EQ(sub, 2) << "left as it was";
    EXPECT_EQ(list.getParmIndexFromChannel("scale", nullptr), 1);
    EXPECT_EQ(list.getParmPtrFromChannel("ty", &sub), list.getParmPtr(0));

    ZEL_ParmList empty(theTerminator, nullptr, nullptr, nullptr, "void", false);
    EXPECT_EQ(empty.getEntries(), 0);
    EXPECT_EQ(empty.evalFloat("t", 0, 0.0), 0.0);
}

TEST(Lists, TheFirstListOfANameDecides)
{
    ZEL_ParmList first(theTemplates, nullptr, nullptr, nullptr, "shared", false);
    ZEL_ParmList second(theOthers, nullptr, nullptr, nullptr, "shared", false);
    EXPECT_EQ(second.getEntries(), 4);
    EXPECT_EQ(second.getParmIndex("t"), 0) << "the tables are the first list's";
    EXPECT_EQ(second.getParmIndex("extra"), -1);
    int sub = 9;
    EXPECT_EQ(second.getParmIndexFromChannel("ty", &sub), -1)
        << "the parameter there doesn't have that component";

    ZEL_ParmList small(theExtraAlone, nullptr, nullptr, nullptr, "shared", false);
    small.appendParm(new ZEL_Parm(&theOthers[1], &small));
    EXPECT_EQ(small.getParmIndex("copies"), -1) << "an index that this list doesn't have";
    EXPECT_EQ(small.getParmIndex("scale"), 1) << "the tables have 1, too";
    EXPECT_EQ(small.getParmIndexFromChannel("copies", nullptr), -1);

    ZEL_Template twice[] = {theOthers[1], theOthers[3], theOthers[1], ZEL_Template()};
    ZEL_ParmList equal(twice, nullptr, nullptr, nullptr, "", false);
    EXPECT_EQ(equal.getParmIndex("scale"), 2) << "the last of equal tokens";
    for (const ZEL_ParmList *list : {&first, &second, &small, &equal}) {
        for (const char *token : {"t", "scale", "copies", "extra", "", "tx"}) {
            for (int likely = -1; likely < 5; ++likely) {
                EXPECT_EQ(list->getLikelyParmIndex(token, likely), list->getParmIndex(token))
                    << "whatever is likely: " << token << likely;
            }
        }
    }

    ZEL_ParmList::renameOpSharedInfo("shared", "renamed");
    ZEL_ParmList third(theOthers, nullptr, nullptr, nullptr, "renamed", false);
    EXPECT_EQ(third.getParmIndex("t"), 0);
    ZEL_ParmList fourth(theOthers, nullptr, nullptr, nullptr, "shared", false);
    EXPECT_EQ(fourth.getParmIndex("t"), 2) << "the old name is free";
    ZEL_ParmList::removeOpSharedInfo("renamed");
    ZEL_ParmList::removeOpSharedInfo("shared");
    EXPECT_EQ(first.getParmIndex("t"), 0) << "lists keep their tables";
    ZEL_ParmList::renameOpSharedInfo("unknown", "x");
    ZEL_ParmList::renameOpSharedInfo("", "x");
}

TEST(Lists, AppendedParametersStandInTheInstanceTables)
{
    TRK_Collection channels;
    ZEL_ParmList list(theTemplates, &channels, nullptr, nullptr, "", false);
    OwnedTemplate extra(ZEL_XYZ, 2, "more");
    OwnedTemplate twin(ZEL_FLT, 1, "scale");
    const std::uint32_t count = list.getAddRemoveCount();
    EXPECT_EQ(list.appendParm(new ZEL_Parm(&extra.entry, &list)), 3);
    EXPECT_EQ(list.appendParm(new ZEL_Parm(&twin.entry, &list)), 4);
    EXPECT_EQ(list.getAddRemoveCount(), count + 2);
    EXPECT_EQ(list.getParmIndex("more"), 3);
    EXPECT_EQ(list.getParmIndex("scale"), 1) << "a template's token can't be hidden";
    int sub = -1;
    EXPECT_EQ(list.getParmIndexFromChannel("morey", &sub), 3);
    EXPECT_EQ(sub, 1);

    OwnedTemplate instance(ZEL_FLT, 1, "pt2");
    list.appendParm(new ZEL_Parm(&instance.entry, &list));
    const int number = 2;
    int index = 0;
    EXPECT_EQ(list.getParmPtrInst("pt#", &number, 1, index), list.getParmPtr(5));
    EXPECT_EQ(index, 5);
    EXPECT_EQ(std::as_const(list).getParmPtrInst("pt#", &number, 1), list.getParmPtr(5));
    EXPECT_EQ(list.getParmPtrInst("qt#", &number, 1, index), nullptr);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(list.getParmPtrInst(KIT_StringRef(), &number, 1, index), nullptr);
}

TEST(Lists, EvaluationAndChangeByName)
{
    TRK_Collection channels;
    ZEL_ParmList list(theTemplates, &channels, nullptr, nullptr, "", false);
    list.setFloat(2.6, "copies", 0, 0.0, false);
    EXPECT_EQ(list.evalFloat("copies", 0, 0.0), 3.0);
    EXPECT_EQ(list.evalInt("copies", 0, 0.0), 3);
    list.setInt(4, "t", 1, 0.0, true);
    KIT_String text;
    list.evalString(text, "t", 1, 0.0);
    EXPECT_STREQ(text.c_str(), "4");
    KIT_StringHolder holder;
    list.evalStringRaw(holder, "t", 1, 0.0);
    EXPECT_STREQ(holder.c_str(), "4");
    list.setString(KIT_String("1.5"), TRK_MEANING_LITERAL, "scale", 0, 0.0, true);
    EXPECT_EQ(list.evalFloat("scale", 0, 0.0), 1.5);

    list.getParmPtr("scale")->getInstance()->setLockedFlag(0, true);
    list.setFloat(9.0, "scale", 0, 0.0, true);
    EXPECT_EQ(list.evalFloat("scale", 0, 0.0), 1.5);
    list.setFloat(9.0, "unknown", 0, 0.0, true);
    EXPECT_EQ(list.evalFloat("unknown", 0, 0.0), 0.0);
    EXPECT_EQ(list.evalFloat(KIT_StringRef(), 0, 0.0), 0.0);
}

TEST(Lists, ExpressionsReachParametersWithAndWithoutChannels)
{
    TRK_Collection channels;
    ZEL_ParmList list(theTemplates, &channels, nullptr, nullptr, "", false);
    list.setFloat(3.0, "t", 1, 0.0, false);
    ZEL_Instance *scale = list.getParmPtr("scale")->getInstance();
    scale->setExpression(0.0, "ch(\"ty\") * 2", TRK_LANGUAGE_NATIVE, 0, true, false);
    EXPECT_EQ(list.evalFloat("scale", 0, 0.0), 6.0);
    EXPECT_FALSE(scale->isTimeDependent(0));

    list.getParmPtr("t")->getInstance()->setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, 1, true,
                                                       false);
    EXPECT_EQ(list.evalFloat("scale", 0, 1.0), 50.0);
    EXPECT_TRUE(scale->isTimeDependent(0)) << "what it reads depends on time";

    // A cycle ends with an error instead of recursion.
    list.getParmPtr("t")->getInstance()->setExpression(0.0, "ch(\"scale\")", TRK_LANGUAGE_NATIVE, 1,
                                                       true, false);
    list.evalFloat("scale", 0, 0.0);
    const int thread = BASgetSTID();
    EXPECT_EQ(EVL::theErrNo[thread], int(EVL::EVL_CYCLE));
    EVL::theErrNo[thread] = 0;

    // The first list on a collection stays its value source, and nothing replaces it when it leaves.
    ZEL_ParmList copy(theOthers, &channels, nullptr, nullptr, "", false);
    EXPECT_NE(channels.getValueSource(), nullptr);
    list.setChannelGroupPtr(nullptr);
    EXPECT_EQ(channels.getValueSource(), nullptr);
}

TEST(Lists, ACollectionMayBeDestroyedFirst)
{
    auto channels = std::make_unique<TRK_Collection>();
    ZEL_ParmList list(theTemplates, channels.get(), nullptr, nullptr, "", false);
    const ZEL_ParmList other(theTemplates, channels.get(), nullptr, nullptr, "", false);
    ZEL_Parm &scale = *list.getParmPtr("scale");
    scale.setValue(0.0, 2.5, false, 0, ZEL_ADDKEY_PENDING, false);
    scale.addChannel(0);
    channels.reset();
    EXPECT_EQ(nullptr, list.getChannelGroupPtr());
    EXPECT_EQ(nullptr, other.getChannelGroupPtr());
    EXPECT_EQ(nullptr, scale.getChannel(0));
    EXPECT_EQ(2.5, list.evalFloat("scale", 0, 1.0));
    scale.addChannel(0);
    TRK_Collection next;
    list.setChannelGroupPtr(&next);
    scale.addChannel(0);
    EXPECT_NE(nullptr, scale.getChannel(0));
}

TEST(Lists, UnknownKindsHaveNoInstance)
{
    OwnedTemplate base(ZEL_TYPE_BASEPARM, 1, "base");
    ZEL_Template templates[] = {base.entry, theTemplates[1], ZEL_Template()};
    ZEL_ParmList list(templates, nullptr, nullptr, nullptr, "", false);
    ASSERT_EQ(list.getEntries(), 2);
    EXPECT_EQ(list.getParmPtr(0)->getInstance(), nullptr);
    EXPECT_EQ(list.evalFloat("base", 0, 0.0), 0.0);
    list.setFloat(1.0, "base", 0, 0.0, true);
    EXPECT_TRUE(list.allDefaults());
    list.clearAllDirtyFlags();
    EXPECT_TRUE(list.areAllFlagsClean());
}

TEST(Lists, EveryKindOfTemplateMakesItsInstance)
{
    OwnedTemplate ordinal(ZEL_TOGGLE, 1, "o"), text(ZEL_STRING, 1, "s"), data(ZEL_DATA, 1, "d");
    ZEL_Name multiName("m", "Multi");
    ZEL_Template multi(ZEL_MULTITYPE_LIST, theTerminator, 1.0, &multiName);
    ZEL_Template templates[] = {ordinal.entry, text.entry, data.entry, multi, ZEL_Template()};
    TRK_Collection channels;
    ZEL_ParmList list(templates, &channels, nullptr, nullptr, "", false);
    ASSERT_EQ(list.getEntries(), 4);
    for (int i = 0; i < 4; ++i) {
        ZEL_Instance *instance = list.getParmPtr(i)->getInstance();
        ASSERT_NE(instance, nullptr) << i;
        EXPECT_EQ(instance->isMultiParm(), i == 3);
        for (bool binary : {false, true}) {
            std::stringstream os;
            EXPECT_TRUE(instance->save(os, binary, false));
            const std::string data1 = os.str();
            KIT_IStream is(data1.data(), data1.size(),
                           binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
            EXPECT_TRUE(instance->load(is)) << i << binary;
        }
    }
    list.setInt(4, "m", 0, 0.0, true);
    EXPECT_EQ(list.evalInt("m", 0, 0.0), 4);
}

TEST(Lists, SparesAndCopiesLieInPlacesAsTheOthersDo)
{
    constexpr int theLarge = 600; // components, which no block has room for
    std::vector<std::unique_ptr<OwnedTemplate>> owned;
    std::vector<ZEL_Template> templates;
    for (const auto &[type, size] :
         {std::pair(&ZEL_FLT, 1), std::pair(&ZEL_XYZ, 3), std::pair(&ZEL_STRING, 1),
          std::pair(&ZEL_STRING, 2), std::pair(&ZEL_TOGGLE, 1), std::pair(&ZEL_INT, 4),
          std::pair(&ZEL_KEY_VALUE_DICT, 1)}) {
        const std::string token = "p" + std::to_string(owned.size());
        owned.push_back(std::make_unique<OwnedTemplate>(*type, size, token.c_str()));
        templates.push_back(owned.back()->entry);
    }
    ZEL_Name large("large", "Large");
    templates.emplace_back(ZEL_FLT, theLarge, &large);
    templates.emplace_back();
    ZEL_Template none[1];
    const auto makeList = [&](ZEL_Template *first) {
        return std::make_unique<ZEL_ParmList>(first, nullptr, nullptr, nullptr, "", false);
    };
    const auto source = makeList(templates.data()), set = makeList(none), single = makeList(none);
    const auto contents = [&](const ZEL_ParmList &list) {
        std::string text;
        for (int i = 0; i < list.getEntries(); ++i) {
            const ZEL_Parm &parm = *list.getParmPtr(i);
            const ZEL_Instance &instance = *parm.getInstance();
            const bool isBeside = static_cast<const void *>(&parm + 1) == &instance;
            text += std::string(parm.getToken()) +
                    (isBeside && instance.getPlace() != 0 ? "+" : "-") +
                    std::to_string(instance.getMemoryUsage(true));
            for (int c = 0; c < parm.getVectorSize(); ++c) {
                KIT_String value;
                parm.getValue(0.0, value, c, true, BASgetSTID());
                text += " " + value.toStdString();
            }
            text += "\n";
        }
        return text;
    };
    const auto fill = [](ZEL_ParmList &list) {
        for (int i = 0; i < list.getEntries(); ++i) {
            ZEL_Parm &parm = *list.getParmPtr(i);
            for (int c = 0; c < parm.getVectorSize(); ++c) {
                parm.setValue(0.0, i + c * 2.5, false, c, ZEL_ADDKEY_PENDING, false);
            }
        }
    };
    fill(*source);
    set->updateSpareParmTemplates(templates.data(), false);
    fill(*set);
    for (std::size_t i = 0; i + 1 < templates.size(); ++i) {
        single->addSpareParm(templates[i]);
    }
    fill(*single);
    const std::string wanted = contents(*source);
    EXPECT_EQ(std::count(wanted.begin(), wanted.end(), '+'), std::ptrdiff_t(owned.size()))
        << wanted;
    EXPECT_EQ(contents(*set), wanted);
    EXPECT_EQ(contents(*single), wanted);
    const ZEL_ParmList copy(*source, templates.data(), nullptr, nullptr, "", true);
    EXPECT_EQ(contents(copy), wanted);
    // Some go, others are made anew.
    for (ZEL_ParmList *spares : {set.get(), single.get()}) {
        templates[4] = ZEL_Template();
        spares->updateSpareParmTemplates(templates.data(), true);
        const std::string rest = contents(*spares);
        EXPECT_EQ(rest, wanted.substr(0, rest.size()));
        EXPECT_EQ(spares->getEntries(), 4);
    }
}

TEST(Lists, EachKeepsItsMemoryWhileOthersComeAndGo)
{
    ZEL_Name name("v", "V");
    std::vector<std::vector<ZEL_Template>> types;
    for (const auto &sizes : std::vector<std::vector<int>>{{1},
                                                           {3, 1, 40, 420, 7},
                                                           std::vector<int>(90, 1),
                                                           std::vector<int>(110, 400),
                                                           {700, 1}}) {
        types.emplace_back();
        for (int size : sizes) {
            types.back().emplace_back(ZEL_FLT, size, &name);
        }
        types.back().emplace_back();
    }
    struct Kept
    {
        std::unique_ptr<ZEL_ParmList> list;
        double mark;
        /// Reads, or sets first, the ends of each parameter; they're different in each list.
        void visit(bool setFlag)
        {
            for (int i = 0; i < list->getEntries(); ++i) {
                ZEL_Parm &parm = *list->getParmPtr(i);
                const int last = parm.getVectorSize() - 1;
                for (int at : {0, last}) {
                    double value = mark + i + 0.5 * at;
                    if (setFlag) {
                        parm.setValue(0.0, value, false, at, ZEL_ADDKEY_PENDING, false);
                    }
                    parm.getValue(0.0, value, at, BASgetSTID());
                    EXPECT_EQ(value, mark + i + 0.5 * at);
                }
            }
        }
    };
    std::vector<Kept> kept;
    std::mutex lock;
    onThreads(3, [&](int thread) {
        std::mt19937 random(unsigned(thread) + 1);
        for (int step = 0; step < 2400; ++step) {
            // More come than go, then all go, twice; most are destroyed by another thread.
            const bool makeFlag = step % 1200 < 900 && random() % 3 != 0;
            Kept one{nullptr, thread * 1e6 + step * 100.0};
            if (makeFlag) {
                one.list = std::make_unique<ZEL_ParmList>(types[random() % types.size()].data(),
                                                          nullptr, nullptr, nullptr, "", false);
                one.visit(true);
            }
            {
                const std::lock_guard<std::mutex> guard(lock);
                if (makeFlag) {
                    kept.push_back(std::move(one));
                } else if (!kept.empty()) {
                    std::swap(kept.back(), kept[random() % kept.size()]);
                    one = std::move(kept.back());
                    kept.pop_back();
                }
            }
            if (one.list) {
                one.visit(false);
            }
        }
    });
}
