// Many threads evaluate one list whose lazy caches are still empty. These tests are
// meant for the thread sanitizer; without it they still compare the results.

#include <common/ListFixture.h>
#include <common/Threads.h>
#include <multi/MultiList.h>
#include <scripts/DialogText.h>

#include <BAS/BAS_Thread.h>
#include <ZEL/ZEL_ORCallback.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int theThreads = 6;

/// Runs `work(number)` on several threads that start together.
template <class Work>
void together(Work work)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < theThreads; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready.load() < theThreads) {
            }
            work(i);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

struct Rig
{
    Rig()
    {
        for (int i = 0; i < 40; ++i) {
            owned.emplace_back(new OwnedTemplate(i % 3 ? ZEL_XYZ : ZEL_INT, i % 3 ? 3 : 1,
                                                 ("p" + std::to_string(i)).c_str()));
            templates.push_back(owned.back()->entry);
        }
        templates.emplace_back();
        list.reset(new ZEL_ParmList(templates.data(), &channels, nullptr, nullptr, "", false));
        for (int i = 0; i < 40; ++i) {
            ZEL_Instance *instance = list->getParmPtr(i)->getInstance();
            for (int c = 0; c < instance->getVectorSize(); ++c) {
                instance->setValue(0.0, i + c * 0.5, false, c, ZEL_ADDKEY_PENDING,
                                   ZEL_KEYSET_PREFERENCE);
            }
            if (i % 4 == 1) {
                instance->addChannel(0);
                instance->setValue(0.0, 1.0 * i, false, 0, ZEL_ADDKEY_FORCE, ZEL_KEYSET_COMMIT);
                instance->setValue(5.0, 2.0 * i, false, 0, ZEL_ADDKEY_FORCE, ZEL_KEYSET_COMMIT);
            }
            if (i % 4 == 2) {
                // Not evaluated here, so that the first evaluation compiles it on a thread.
                instance->addChannel(0, "ch(\"p0\") + $F * ch(\"p1x\")", TRK_LANGUAGE_NATIVE);
            }
        }
    }

    std::vector<double> evaluate(double time) const
    {
        std::vector<double> values;
        const int thread = BASgetSTID();
        for (std::size_t n = 0; n < owned.size(); ++n) {
            const ZEL_Template &description = templates[n];
            const ZEL_Parm *parm = list->getParmPtr(KIT_StringRef(owned[n]->name.getToken()));
            for (int c = 0; c < parm->getVectorSize(); ++c) {
                double value = 0.0;
                parm->getValue(time, value, c, thread);
                values.push_back(value);
                parm->isTimeDependent(c);
                description.getChannelToken(c);
                description.getAutoSelectField();
                description.getDecodedChannelToken(c);
            }
            double all[3];
            parm->getValues(time, all, thread);
            values.insert(values.end(), all, all + parm->getVectorSize());
        }
        return values;
    }

    std::vector<std::unique_ptr<OwnedTemplate>> owned;
    std::vector<ZEL_Template> templates;
    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;
};

class Doubling : public ZEL_ORCallback
{
public:
    double evalFloat(int dataIndex, double, int *timeDep, int *active) override
    {
        if (timeDep) {
            *timeDep = 0;
        }
        *active = 1;
        return dataIndex * 2.0;
    }
    bool setFloat(int, double, int, int, double) override { return false; }
    std::int64_t evalInt(int, double, int *, int *) override { return 0; }
    bool setInt(int, double, int, int, std::int64_t) override { return false; }
    KIT_StringHolder evalString(int, double, int *, int *) override { return KIT_StringHolder(); }
    bool setString(int, double, int, int, const KIT_StringHolder &) override { return false; }
};

} // namespace

TEST(Threads, AllSeeTheSameValues)
{
    Rig reference;
    const std::vector<double> at0 = reference.evaluate(0.0);
    const std::vector<double> at3 = reference.evaluate(3.0);
    for (int round = 0; round < 5; ++round) {
        Rig fresh;
        together([&](int i) {
            for (int repeat = 0; repeat < 20; ++repeat) {
                const bool late = (i + repeat) % 2;
                ASSERT_EQ(fresh.evaluate(late ? 3.0 : 0.0), late ? at3 : at0);
            }
        });
        EXPECT_TRUE(fresh.list->isTimeDependent());
    }
}

TEST(Threads, TemplateCachesFillOnce)
{
    for (int round = 0; round < 50; ++round) {
        OwnedTemplate description(ZEL_XYZ, 3, "v");
        const KIT_StringHolder *seen[theThreads] = {};
        together([&](int i) {
            description.entry.getAutoScopeField();
            description.entry.getAutoSelectField();
            EXPECT_STREQ(description.entry.getDecodedChannelToken(2).c_str(), "vz");
            seen[i] = description.entry.getChannelTokens();
            EXPECT_STREQ(seen[i][1].c_str(), "vy");
        });
        for (int i = 1; i < theThreads; ++i) {
            EXPECT_EQ(seen[i], seen[0]);
        }
    }
}

TEST(Threads, OverridesAndMicroNodesBesideEvaluation)
{
    Doubling callback;
    ZEL_ParmList::setORCallback(&callback);
    Rig rig;
    ZEL_Parm *first = rig.list->getParmPtr(1);
    ZEL_Parm *second = rig.list->getParmPtr(2);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ZEL_Instance *overridden = first->getInstance();
    overridden->setOverride(1, 21, "source", ZEL_OVERRIDE_OVERRIDDEN);
    together([&](int i) {
        for (int repeat = 0; repeat < 200; ++repeat) {
            double value = 0.0;
            overridden->getValue(rig.list.get(), 0.0, value, 1, BASgetSTID());
            EXPECT_EQ(value, 42.0);
            if (i == repeat % theThreads) {
                second->microNode(0);
            }
            second->getValue(repeat * 0.1, value, 0, BASgetSTID());
        }
    });
    EXPECT_TRUE(second->hasMicroNodes());
    ZEL_ParmList::setORCallback(nullptr);
}

TEST(Threads, AFirstChannelComesBesideEvaluation)
{
    const std::pair<const ZEL_Type *, int> kinds[] = {
        {&ZEL_FLT, 1}, {&ZEL_XYZ, 3}, {&ZEL_TOGGLE, 1}};
    for (int round = 0; round < 12; ++round) {
        const auto &[type, size] = kinds[round % 3];
        OneParm p(*type, size);
        p.build();
        TRK_Channel *channel = p.channels.addChannel(p.instance->getChannelToken(0));
        channel->initializeFirstSegment("1", TRK_LANGUAGE_NATIVE);
        EXPECT_EQ(p.channels.evaluate(channel, 0.0, false, BASgetSTID()), 1.0);
        for (int c = 0; c < size; ++c) {
            p.set(1.0, c);
        }
        Barrier known(theThreads);
        std::atomic<int> seen{0};
        together([&](int i) {
            const int thread = BASgetSTID();
            known.wait();
            // Relaxed: the thread sanitizer takes the reads before as beside the change.
            while (i == 0 && seen.load(std::memory_order_relaxed) == 0) {
                std::this_thread::yield();
            }
            if (i == 0) {
                p.instance->setChannel(0, channel);
            }
            for (int repeat = 0; repeat < 200; ++repeat) {
                double value = 0.0;
                p.parm->getValue(0.0, value, repeat % p.parm->getVectorSize(), thread);
                EXPECT_EQ(value, 1.0);
                seen.fetch_add(repeat == 50, std::memory_order_relaxed);
            }
        });
    }
}

TEST(Threads, OverrideDisablingIsPerThread)
{
    Doubling callback;
    ZEL_ParmList::setORCallback(&callback);
    OneParm p(ZEL_FLT, 1);
    p.build();
    p.set(3.0);
    p.instance->setOverride(0, 4, "source", ZEL_OVERRIDE_OVERRIDDEN);
    together([&](int i) {
        const bool off = i % 2;
        for (int repeat = 0; repeat < 100; ++repeat) {
            if (off) {
                p.instance->setOverrideDisable(0, 1);
            }
            double value = 0.0;
            p.instance->getValue(p.list.get(), 0.0, value, 0, BASgetSTID());
            EXPECT_EQ(value, off ? 3.0 : 8.0);
            if (off) {
                p.instance->setOverrideDisable(0, 0);
            }
        }
    });
    ZEL_ParmList::setORCallback(nullptr);
}

namespace
{

/// Runs work on a thread of its own while an item is being added.
class InterruptingOwner : public TestOwner
{
public:
    std::function<void()> work;

    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override
    {
        EXPECT_TRUE(ZEL_Parm::getIsAddingOrRemovingMultiParms());
        std::thread(work).join();
        TestOwner::multiItemCreated(parms);
    }
};

} // namespace

TEST(Threads, LoadAndGrowForThemselves)
{
    // Not loading: surplus backslashes leave a menu's tokens, and a list without permissions can't
    // be written.
    const std::string script =
        "{ name top parm { name p menu { \"a" + std::string(10, '\\') + "b\" A } } }";
    const auto work = [&] {
        EXPECT_FALSE(ZEL_ParmList::isLoading());
        EXPECT_FALSE(ZEL_Parm::getIsAddingOrRemovingMultiParms());
        MultiList own;
        own.build(2.0);
        EXPECT_EQ(own.text(), "points=2 pt1=0 pt2=0");
        own.list->setPermissions(0);
        EXPECT_FALSE(own.parm("pt1").canAccess(~0u));
        EXPECT_FALSE(own.parm("pt1").setChannelAlias("other", 0));
    };
    InterruptingOwner owner;
    owner.work = [&] {
        work();
        EXPECT_EQ(Dialog(script).dump(), "p FLT menu4097(ab/A)");
    };
    MultiList grown;
    grown.top.addMulti(ZEL_MULTITYPE_LIST, "points", grown.items.templates());
    grown.buildTop(&owner);
    ZEL_ParmList::beginLoading();
    grown.setCount(1.0);
    ZEL_ParmList::endLoading();
    EXPECT_EQ(grown.text(), "points=1 pt1=0");
    together([&](int) {
        for (int i = 0; i < 20; ++i) {
            work();
        }
    });
    work();
}
