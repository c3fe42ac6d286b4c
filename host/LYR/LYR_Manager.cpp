#include <LYR/LYR_Manager.h>

LYR_Manager::LYR_Manager() : myMaster("Main"), myCurrent(&myMaster) {}

LYR_Manager *LYR_Manager::getCurrentManager()
{
    static LYR_Manager theManager;
    return &theManager;
}

bool LYR_Manager::setCurrentTake(LYR_Take *take)
{
    if (take && !myMaster.contains(take)) {
        return false;
    }
    myCurrent = take ? take : &myMaster;
    return true;
}

bool LYR_Manager::removeTake(LYR_Take *take)
{
    if (!take || take == &myMaster || !myMaster.contains(take)) {
        return false;
    }
    if (take->contains(myCurrent)) {
        myCurrent = take->getParent();
    }
    return take->getParent()->removeChild(take);
}

LYR_Take *LYR_Manager::findDefinition(const void *dataId) const
{
    return myCurrent->hasDefinition(dataId) ? myCurrent : nullptr;
}

void LYR_Manager::addDefinition(const void *dataId, LYR_Take *take)
{
    (take ? take : myCurrent)->addDefinition(dataId);
}

static void removeBelow(LYR_Take &take, const void *dataId)
{
    take.removeDefinition(dataId);
    for (LYR_Take *child : take.getChildren()) {
        removeBelow(*child, dataId);
    }
}

void LYR_Manager::removeDefinitions(const void *dataId)
{
    removeBelow(myMaster, dataId);
}
