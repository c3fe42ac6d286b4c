#include <NOD/NOD_Scene.h>

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSource.h>
#include <NOD/NOD_Report.h>
#include <TRK/TRK_Manager.h>

#include <atomic>
#include <cmath>
#include <utility>

namespace
{

std::atomic<NOD_Scene *> theCurrent{nullptr};

} // namespace

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

NOD_Scene::NOD_Scene()
    : myRoot(std::make_unique<NOD_Node>()), myGraph(std::make_unique<NOD_Graph>(*myRoot))
{
    if (!theCurrent.load()) {
        makeCurrent();
    }
}

NOD_Scene::~NOD_Scene()
{
    NOD_Scene *self = this;
    theCurrent.compare_exchange_strong(self, nullptr);
    mySource.reset();
    myGraph.reset();
}

// ---------------------------------------------------------------------- //
// Nodes and interfaces
// ---------------------------------------------------------------------- //

NOD_Node *NOD_Scene::find(const KIT_StringRef &path)
{
    return myRoot->findNode(path);
}

NOD_Node *NOD_Scene::add(const std::string &path, std::shared_ptr<const NOD_Interface> description,
                         NOD_Report &report)
{
    const std::size_t slash = path.rfind('/');
    const std::string above = slash == std::string::npos ? "/" : path.substr(0, slash);
    const std::string name = path.substr(slash + 1); // all of it without a slash
    NOD_Node *const parent = above.empty() ? myRoot.get() : find(above.c_str());
    if (!parent) {
        report.error(path, "there is no node " + above);
        return nullptr;
    }
    NOD_Node *const node = parent->addChild(name.c_str(), std::move(description));
    if (!node) {
        report.error(path, parent->getChild(name) ? "there is a node of that name already"
                                                  : "\"" + name + "\" can't be a node's name");
    }
    return node;
}

void NOD_Scene::addInterface(std::shared_ptr<const NOD_Interface> description)
{
    const std::string name = description->getTypeName();
    myInterfaces[name] = std::move(description);
}

std::shared_ptr<const NOD_Interface> NOD_Scene::findInterface(const std::string &typeName) const
{
    const auto entry = myInterfaces.find(typeName);
    return entry == myInterfaces.end() ? nullptr : entry->second;
}

// ---------------------------------------------------------------------- //
// Time
// ---------------------------------------------------------------------- //

void NOD_Scene::makeCurrent()
{
    if (NOD_Scene *const former = theCurrent.exchange(this)) {
        former->mySource.reset();
    }
    mySource = std::make_unique<NOD_NodeSource>(*myRoot);
    applyTime();
}

bool NOD_Scene::isCurrent() const
{
    return theCurrent.load() == this;
}

void NOD_Scene::applyTime() const
{
    if (isCurrent()) {
        TRK_Manager::getContext().setFPS(myFrameRate);
        TRK_Manager::getContext().setCurrentTime(myTime);
    }
}

bool NOD_Scene::setFrameRate(double framesPerSecond)
{
    if (!(framesPerSecond > 0.0) || !std::isfinite(framesPerSecond)) {
        return false;
    }
    myFrameRate = framesPerSecond;
    applyTime();
    return true;
}

bool NOD_Scene::setFrameRange(double first, double last)
{
    if (!std::isfinite(first) || !std::isfinite(last) || last < first) {
        return false;
    }
    myFirstFrame = first;
    myLastFrame = last;
    return true;
}

void NOD_Scene::setTime(double seconds)
{
    myTime = seconds;
    applyTime();
}
