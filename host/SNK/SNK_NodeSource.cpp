#include <SNK/SNK_NodeSource.h>

#include <atomic>

namespace
{

std::atomic<SNK_NodeSource *> theSource{nullptr};
thread_local SNK_CurrentNode *theCurrentNode = nullptr;

} // namespace

SNK_NodeSource::~SNK_NodeSource() = default;

void SNKsetNodeSource(SNK_NodeSource *source)
{
    theSource.store(source, std::memory_order_release);
}

SNK_NodeSource *SNKgetNodeSource()
{
    return theSource.load(std::memory_order_acquire);
}

SNK_CurrentNode::SNK_CurrentNode(const char *fullPath)
    : myPath(fullPath, true), myOuter(theCurrentNode)
{
    theCurrentNode = this;
}

SNK_CurrentNode::~SNK_CurrentNode()
{
    theCurrentNode = myOuter;
}

const char *SNK_CurrentNode::getPath()
{
    return theCurrentNode ? theCurrentNode->myPath.c_str() : nullptr;
}
