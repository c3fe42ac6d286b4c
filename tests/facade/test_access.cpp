// Who may change a parameter: the list's permissions, the lock of an asset, and the open take.

#include "FacadeList.h"

#include <LYR/LYR_Manager.h>
#include <gtest/gtest.h>

#include <tuple>

namespace
{

/// The state in which access is asked for: each bit can make a difference.
enum AccessState : unsigned
{
    IN_TAKE = 0x1,             ///< the current take isn't the master take
    OVERRIDE = 0x2,            ///< the take manager's own flag
    AUTO_INCLUDE = 0x4,        ///< edits add parameters to the take
    AUTO_INCLUDE_ASSETS = 0x8, ///< those of locked assets too
    ACTIVE = 0x10,             ///< the parameter is in the take
    LOADING = 0x20,            ///< lists load
    NO_COLLECTION = 0x40       ///< the list has no channels
};

constexpr unsigned theWrite = ZEL_Parm::theWriteMask;
constexpr unsigned theRead = 0444;
constexpr unsigned theAll = 0777;

class Access : public ::testing::Test, public FacadeList
{
protected:
    Access() : takes(*LYR_Manager::getCurrentManager())
    {
        shot = takes.getMasterTake()->addChild("shot");
    }
    ~Access() override
    {
        enter(0);
        takes.removeTake(shot);
    }

    void enter(unsigned state)
    {
        takes.setCurrentTake(state & IN_TAKE ? shot : nullptr);
        takes.setOverrideFlag(state & OVERRIDE);
        takes.setAutoIncludeFlag(state & AUTO_INCLUDE);
        takes.setAutoIncludeLockedAssetsFlag(state & AUTO_INCLUDE_ASSETS);
    }

    bool ask(FacadeParm index, unsigned mask, unsigned state)
    {
        enter(state);
        parm(index).setActiveTakeFlag(state & ACTIVE);
        list.setChannelGroupPtr(state & NO_COLLECTION ? nullptr : &collection);
        if (state & LOADING) {
            ZEL_ParmList::beginLoading();
        }
        const bool allowed = parm(index).canAccess(mask);
        if (state & LOADING) {
            ZEL_ParmList::endLoading();
        }
        list.setChannelGroupPtr(&collection);
        enter(0);
        return allowed;
    }

    LYR_Manager &takes;
    LYR_Take *shot;
};

TEST_F(Access, FollowsPermissionsAssetLockAndTake)
{
    const std::tuple<unsigned, unsigned, unsigned, unsigned, bool> cases[] = {
        // An open list.
        {theAll, theAll, theWrite, 0, true},
        {theAll, theAll, theWrite, IN_TAKE, false},
        {theAll, theAll, theWrite, IN_TAKE | OVERRIDE, true},
        {theAll, theAll, theWrite, IN_TAKE | AUTO_INCLUDE, true},
        {theAll, theAll, theWrite, IN_TAKE | AUTO_INCLUDE_ASSETS, false},
        {theAll, theAll, theWrite, IN_TAKE | ACTIVE, true},
        {theAll, theAll, theWrite, IN_TAKE | LOADING, true},
        {theAll, theAll, theWrite, IN_TAKE | NO_COLLECTION, true},
        {theAll, theAll, theRead, IN_TAKE, true},
        {theAll, theAll, 0200, IN_TAKE, true}, // only the write mask itself asks for the take
        // Without permission nothing helps.
        {theRead, theAll, theWrite, 0, false},
        {theRead, theAll, theWrite, OVERRIDE | IN_TAKE | ACTIVE | AUTO_INCLUDE | LOADING, false},
        {theRead, theAll, theRead, 0, true},
        // A locked asset.
        {theAll, theRead, theWrite, 0, false},
        {theAll, theRead, theWrite, ACTIVE, false},
        {theAll, theRead, theWrite, AUTO_INCLUDE_ASSETS, false},
        {theAll, theRead, theWrite, LOADING, false},
        {theAll, theRead, theWrite, OVERRIDE, true},
        {theAll, theRead, theWrite, IN_TAKE, false},
        {theAll, theRead, theWrite, IN_TAKE | AUTO_INCLUDE, false},
        {theAll, theRead, theWrite, IN_TAKE | AUTO_INCLUDE_ASSETS, true},
        {theAll, theRead, theWrite, IN_TAKE | ACTIVE, true},
        {theAll, theRead, theRead, 0, true},
    };
    for (const auto &[permissions, assetMask, mask, state, allowed] : cases) {
        list.setPermissions(permissions);
        list.setAssetPermissionMask(assetMask);
        EXPECT_EQ(allowed, ask(PARM_T, mask, state))
            << std::oct << "permissions " << permissions << ", asset " << assetMask << ", asked "
            << mask << std::hex << ", state 0x" << state;
    }
    list.setPermissions(theAll);
    list.setAssetPermissionMask(theAll);
    list.setUserMask(theRead);
    EXPECT_FALSE(ask(PARM_T, theWrite, 0));
    EXPECT_TRUE(ask(PARM_T, theRead, 0));
    list.setUserMask(theAll);
    EXPECT_TRUE(ask(PARM_T, theWrite, 0));
    // Folders stay reachable.
    list.setPermissions(0);
    list.setAssetPermissionMask(0);
    EXPECT_TRUE(ask(PARM_FOLDER, theWrite, 0));
    EXPECT_FALSE(ask(PARM_F, theWrite, 0));
}

TEST_F(Access, AnAliasNeedsWriteAccess)
{
    ZEL_Parm &t = parm(PARM_T);
    list.setPermissions(theRead);
    EXPECT_FALSE(t.setChannelAlias("left", 0));
    EXPECT_STREQ("tx", t.getChannelAlias(0).c_str());
    list.setPermissions(theAll);
    EXPECT_TRUE(t.setChannelAlias("left", 0));
    EXPECT_STREQ("left", t.getChannelAlias(0).c_str());
    EXPECT_FALSE(t.setChannelAlias("no channel name", 1));
    EXPECT_FALSE(t.setChannelAlias("right", 3));
    EXPECT_TRUE(t.setChannelAlias("", 0));
    EXPECT_STREQ("tx", t.getChannelAlias(0).c_str());
}

} // namespace
