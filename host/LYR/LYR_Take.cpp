#include <LYR/LYR_Take.h>

LYR_Take::LYR_Take(const char *name, LYR_Take *parent) : myName(name), myParent(parent) {}

LYR_Take::~LYR_Take()
{
    for (LYR_Take *child : myChildren) {
        delete child;
    }
}

LYR_Take *LYR_Take::addChild(const char *name)
{
    LYR_Take *child = new LYR_Take(name, this);
    myChildren.append(child);
    return child;
}

bool LYR_Take::removeChild(LYR_Take *child)
{
    if (myChildren.findAndRemove(child) < 0) {
        return false;
    }
    delete child;
    return true;
}

bool LYR_Take::contains(const LYR_Take *take) const
{
    while (take && take != this) {
        take = take->myParent;
    }
    return take != nullptr;
}

LYR_Take *LYR_Take::find(const char *name)
{
    if (myName.equals(name)) {
        return this;
    }
    for (LYR_Take *child : myChildren) {
        if (LYR_Take *found = child->find(name)) {
            return found;
        }
    }
    return nullptr;
}
