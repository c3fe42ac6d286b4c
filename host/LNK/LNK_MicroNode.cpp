#include <LNK/LNK_MicroNode.h>

#include <algorithm>
#include <mutex>
#include <ostream>
#include <sstream>
#include <string>
#include <unordered_map>

/// Guards the edges of all nodes: an edge has two ends, and edges change rarely.
static std::mutex theEdgeLock;
/// Guards the walk marks; locked before the edge lock.
static std::mutex theWalkLock;
static uint32_t theLastWalk = 0;
/// Held while a node's set of context options is created or deleted.
static BAS_ByteLock theContextOptionLock;

// ------------------------------------------------------------------ //
// Walks

/// The nodes that a propagation still has to visit. The walks of a thread are chained, so that a
/// node destroyed from inside a callback can remove itself from all of them.
struct LNK_MicroNode::Walk
{
    Walk() : myOuter(theInnermost) { theInnermost = this; }
    ~Walk() { theInnermost = myOuter; }

    void collect(LNK_MicroNode &start, bool cleanOnly);
    static void forget(const LNK_MicroNode *node);

    KIT_Array<LNK_MicroNode *> myNodes; // null where a node was destroyed
    Walk *myOuter;
    static __thread Walk *theInnermost;
};

__thread LNK_MicroNode::Walk *LNK_MicroNode::Walk::theInnermost = nullptr;

void LNK_MicroNode::Walk::collect(LNK_MicroNode &start, bool cleanOnly)
{
    std::lock_guard<std::mutex> lock(theWalkLock);
    const uint32_t mark = ++theLastWalk;
    KIT_Array<LNK_MicroNode *> outputs;

    start.myWalkMark = mark;
    myNodes.append(&start);
    for (int64_t i = 0; i < myNodes.entries(); ++i) {
        outputs.clear();
        myNodes[i]->getOutputs(outputs);
        for (LNK_MicroNode *output : outputs) {
            if (output->myWalkMark != mark && !(cleanOnly && output->isDirty())) {
                output->myWalkMark = mark;
                myNodes.append(output);
            }
        }
    }
}

void LNK_MicroNode::Walk::forget(const LNK_MicroNode *node)
{
    for (Walk *walk = theInnermost; walk; walk = walk->myOuter) {
        for (LNK_MicroNode *&entry : walk->myNodes) {
            if (entry == node) {
                entry = nullptr;
            }
        }
    }
}

void LNK_MicroNode::propagateDirty(DirtyCallback callback, bool cleanOnly)
{
    Walk walk;
    walk.collect(*this, cleanOnly);
    for (int64_t i = 0; i < walk.myNodes.entries(); ++i) {
        if (LNK_MicroNode *node = walk.myNodes[i]) {
            BASstoreIfDifferent<uint8_t>(node->myDirty, 1);
            node->becameDirty();
        }
        // becameDirty() may have destroyed it.
        if (LNK_MicroNode *node = callback ? walk.myNodes[i] : nullptr) {
            callback(*node);
        }
    }
}

void LNK_MicroNode::setDirty(bool dirty, bool propagate)
{
    if (dirty && propagate) {
        propagateDirty(DirtyCallback(), false);
    } else {
        BASstoreIfDifferent<uint8_t>(myDirty, dirty ? 1 : 0);
    }
}

// ------------------------------------------------------------------ //
// Edges

LNK_MicroNode::~LNK_MicroNode()
{
    Walk::forget(this);
    clearContextOptionDeps();
    std::lock_guard<std::mutex> lock(theEdgeLock);
    for (LNK_MicroNode *input : myInputs) {
        input->myOutputs.findAndRemove(this);
    }
    for (LNK_MicroNode *output : myOutputs) {
        output->myInputs.findAndRemove(this);
    }
}

bool LNK_MicroNode::addExplicitInput(LNK_MicroNode &input)
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    if (&input == this || myInputs.find(&input) >= 0) {
        return false;
    }
    myInputs.append(&input);
    try {
        input.myOutputs.append(this);
    } catch (...) {
        myInputs.removeLast(); // half an edge would outlive its other end
        throw;
    }
    return true;
}

bool LNK_MicroNode::removeInput(LNK_MicroNode &input)
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    if (myInputs.findAndRemove(&input) < 0) {
        return false;
    }
    input.myOutputs.findAndRemove(this);
    return true;
}

void LNK_MicroNode::clearInputs()
{
    clearContextOptionDeps();
    std::lock_guard<std::mutex> lock(theEdgeLock);
    for (LNK_MicroNode *input : myInputs) {
        input->myOutputs.findAndRemove(this);
    }
    myInputs.clear();
}

void LNK_MicroNode::getInputs(KIT_Array<LNK_MicroNode *> &inputs) const
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    inputs.append(myInputs.data(), myInputs.entries());
}

void LNK_MicroNode::getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    outputs.append(myOutputs.data(), myOutputs.entries());
}

int64_t LNK_MicroNode::getNumInputs() const
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    return myInputs.entries();
}

int64_t LNK_MicroNode::getNumOutputs() const
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    return myOutputs.entries();
}

void LNK_MicroNode::addContextOptionDep(const KIT_StringRef &name)
{
    LNKaddContextOptionDep(myContextOptionDeps, theContextOptionLock, name);
}

void LNK_MicroNode::clearContextOptionDeps()
{
    LNKclearContextOptionDeps(myContextOptionDeps, theContextOptionLock);
}

// ------------------------------------------------------------------ //
// Other base slots

const char *LNK_MicroNode::className() const
{
    return "LNK_MicroNode";
}

void LNK_MicroNode::update()
{
    setDirty(false, false);
}

bool LNK_MicroNode::requiresUpdate() const
{
    return isDirty();
}

void LNK_MicroNode::becameDirty() {}

int64_t LNK_MicroNode::getMemoryUsage(bool inclusive) const
{
    std::lock_guard<std::mutex> lock(theEdgeLock);
    return myInputs.getMemoryUsage(false) + myOutputs.getMemoryUsage(false) +
           LNKgetContextOptionDepsMemory(myContextOptionDeps) +
           (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0);
}

// ------------------------------------------------------------------ //
// Text

void LNK_MicroNode::dump(std::ostream &stream, const char *label, int level) const
{
    const std::string indent(static_cast<size_t>(std::max(level, 0)) * 2, ' ');
    stream << indent;
    if (label && *label) {
        stream << label << ": ";
    }
    stream << className() << (isDirty() ? " dirty" : "") << (isTimeDependent() ? " timedep" : "")
           << "\n";

    KIT_Array<LNK_MicroNode *> inputs;
    getInputs(inputs);
    for (const LNK_MicroNode *input : inputs) {
        stream << indent << "  input: " << input->className() << (input->isDirty() ? " dirty" : "")
               << "\n";
    }
}

std::string LNK_MicroNode::quoteForDOT(const std::string &text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\n') {
            quoted += "\\l";
            continue;
        }
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + "\"";
}

using NodeNumbers = std::unordered_map<const LNK_MicroNode *, int64_t>;

/// Numbers all nodes that are connected with the first of `nodes`, in the order found.
static void findLinked(KIT_Array<const LNK_MicroNode *> &nodes, NodeNumbers &numbers)
{
    numbers.emplace(nodes[0], 0);
    KIT_Array<LNK_MicroNode *> neighbours;
    for (int64_t i = 0; i < nodes.entries(); ++i) {
        neighbours.clear();
        nodes[i]->getInputs(neighbours);
        nodes[i]->getOutputs(neighbours);
        for (const LNK_MicroNode *neighbour : neighbours) {
            if (numbers.emplace(neighbour, nodes.entries()).second) {
                nodes.append(neighbour);
            }
        }
    }
}

void LNK_MicroNode::dumpAsDOT(std::ostream &stream, const char *graphName) const
{
    KIT_Array<const LNK_MicroNode *> nodes;
    NodeNumbers numbers;
    nodes.append(this);
    findLinked(nodes, numbers);
    dumpAsDOT(stream, graphName, nodes, [](const LNK_MicroNode &node) {
        std::ostringstream text;
        node.dump(text, nullptr, 0);
        return text.str();
    });
}

void LNK_MicroNode::dumpAsDOT(std::ostream &stream, const char *graphName,
                              const KIT_Array<const LNK_MicroNode *> &nodes, const Label &label)
{
    NodeNumbers numbers;
    stream << "digraph " << quoteForDOT(graphName && *graphName ? graphName : "micronodes")
           << " {\n    node [shape=box];\n";
    for (int64_t i = 0; i < nodes.entries(); ++i) {
        numbers.emplace(nodes[i], i);
        stream << "    n" << i << " [label=" << quoteForDOT(label(*nodes[i]))
               << (nodes[i]->isDirty() ? ", style=filled" : "")
               << (nodes[i]->isTimeDependent() ? ", peripheries=2" : "") << "];\n";
    }
    KIT_Array<LNK_MicroNode *> outputs;
    for (int64_t i = 0; i < nodes.entries(); ++i) {
        outputs.clear();
        nodes[i]->getOutputs(outputs);
        for (const LNK_MicroNode *output : outputs) {
            const auto number = numbers.find(output);
            if (number != numbers.end()) {
                stream << "    n" << i << " -> n" << number->second << ";\n";
            }
        }
    }
    stream << "}\n";
}
