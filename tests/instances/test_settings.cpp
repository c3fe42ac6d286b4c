// Settings of the process, two and three at a time.

#include <common/ListFixture.h>

#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

/// A value for each of the settings from the bits of a number; the destructor puts all back.
struct Settings
{
    explicit Settings(int bits)
        : alwaysHarden((bits & 1) != 0), commits((bits & 2) != 0), keysTuples((bits & 4) != 0),
          destructive((bits & 8) != 0)
    {
        apply(alwaysHarden, commits, keysTuples, destructive);
    }
    ~Settings() { apply(false, true, false, false); }

    static void apply(bool always, bool commit, bool tuple, bool destroys)
    {
        ZEL_Parm::setAlwaysHardenFlag(always);
        TRK_Manager::getContext().setCommitPreference(commit);
        TRK_Manager::getContext().setTupleKeying(tuple);
        ZEL_Parm::setDestructiveRevertToDefaultFlag(destroys);
    }

    bool alwaysHarden, commits, keysTuples, destructive;
};

std::string stateOf(const OneParm &p)
{
    std::string all;
    for (int i = 0; i < p.instance->getVectorSize(); ++i) {
        const TRK_Channel *channel = p.instance->getChannel(i);
        all += channel ? channel->getPendingFlag() ? "pending" : "clean" : "none";
        for (int s = 0; channel && s < channel->getNSegments(); ++s) {
            all += " " + std::to_string(channel->getSegment(s)->getStart()) + " " +
                   channel->getSegment(s)->getExpression();
        }
        for (const double time : {0.0, 1.0, 2.0}) {
            KIT_String text;
            p.instance->getValue(p.list.get(), time, text, i, true, 1);
            all += " " + text.toStdString();
        }
        all += "; ";
    }
    return all;
}

void animateAll(OneParm &p)
{
    p.animate("constant()", 0);
    p.animate("constant()", 1);
}

/// What a set in the middle of two curves leaves.
std::string afterSet(const ZEL_Type &type, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    BuiltParm p(type, 2);
    animateAll(p);
    p.instance->setValue(1.0, 7.0, false, 0, addKey, keySet);
    return stateOf(p);
}

} // namespace

TEST(Settings, TheKeySetOfAPreferenceIsThatOfEitherSetting)
{
    for (int bits = 0; bits < 16; ++bits) {
        const Settings settings(bits);
        const ZEL_KeySetType same =
            settings.alwaysHarden || settings.commits ? ZEL_KEYSET_COMMIT : ZEL_KEYSET_NOCOMMIT;
        for (const ZEL_Type *type : {&ZEL_FLT, &ZEL_INT, &ZEL_STRING}) {
            for (const ZEL_AddKeyType addKey :
                 {ZEL_ADDKEY_PENDING, ZEL_ADDKEY_HARDEN, ZEL_ADDKEY_FORCE}) {
                EXPECT_EQ(afterSet(*type, addKey, ZEL_KEYSET_PREFERENCE),
                          afterSet(*type, addKey, same))
                    << bits << " " << addKey;
            }
            EXPECT_NE(afterSet(*type, ZEL_ADDKEY_PENDING, ZEL_KEYSET_COMMIT),
                      afterSet(*type, ZEL_ADDKEY_PENDING, ZEL_KEYSET_NOCOMMIT));
        }
    }
}

TEST(Settings, ASetAndARevertFollowEachOfThem)
{
    for (int bits = 0; bits < 64; ++bits) {
        const Settings settings(bits);
        const bool locked = (bits & 16) != 0;
        const bool curve = (bits & 32) != 0;
        BuiltParm p(ZEL_FLT, 3);
        animateAll(p);
        if (!curve) {
            p.animate("1 + 1", 0);
        }
        // A value can be committed to a curve only; hardening makes a key in any case.
        const bool keyed = settings.alwaysHarden || (curve && settings.commits);
        EXPECT_TRUE(p.parm->setValue(1.0, 7.0, false, 0, ZEL_ADDKEY_PENDING, true));
        EXPECT_EQ(p.parm->getChanState(1.0, 0), keyed ? ZEL_CHAN_KEY : ZEL_CHAN_PENDING) << bits;
        // The preference itself, and not what stands in for it.
        const bool tuple = settings.commits && settings.keysTuples && settings.alwaysHarden;
        EXPECT_EQ(p.parm->getChanState(1.0, 1), tuple ? ZEL_CHAN_KEY : ZEL_CHAN_NOKEY) << bits;

        p.parm->setLockedFlag(0, locked);
        const std::string before = stateOf(p);
        const double time = curve ? 1.0 : 0.5;
        p.parm->revertToDefault(time, 0, true);
        if (locked) {
            EXPECT_EQ(stateOf(p), before) << bits;
        } else if (settings.destructive) {
            EXPECT_FALSE(p.instance->getChannel(0)) << bits;
        } else {
            EXPECT_EQ(p.parm->getChanState(time, 0), keyed ? ZEL_CHAN_KEY : ZEL_CHAN_PENDING)
                << bits;
        }
        EXPECT_TRUE(locked || p.eval(0, time) == 0.0) << bits;
        EXPECT_TRUE(p.instance->getChannel(1) && !p.instance->getChannel(2));
    }
}
