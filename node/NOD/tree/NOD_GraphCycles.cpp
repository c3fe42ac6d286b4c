// The graph as a whole: its cycles, its text, its size.

#include <NOD/NOD_Graph.h>

#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LostReferencesPrivate.h>
#include <NOD/tree/NOD_WholeNodePrivate.h>

#include <ZEL/ZEL_ParmMicroNode.h>

#include <algorithm>
#include <ostream>

/// The tree's graph nodes as numbers, in the order of the tree, and searches among them.
class NOD_Graph::CycleSearch
{
public:
    explicit CycleSearch(NOD_Graph &graph);

    /// Calls with the members of each set that read each other, or of one that reads itself.
    template <class Call>
    void forEachKnot(const Call &call);
    /// The shortest way from a number back to it, within its knot.
    std::vector<int> shortestFrom(int start) const;
    bool readsItself(int number) const { return mySelf[std::size_t(number)] != 0; }
    std::string pathOf(int number) const;

private:
    /// One that a walk is in, and which of its inputs comes next.
    struct Step
    {
        int number;
        std::size_t next;
    };

    void add(const NOD_Graph &graph, const LNK_MicroNode &node);
    void enter(int number, std::vector<Step> &walk);
    std::vector<int> takeKnot(int root);

    std::vector<const LNK_MicroNode *> myNodes;
    std::vector<char> mySelf;
    std::unordered_map<const LNK_MicroNode *, int> myNumbers;
    std::vector<std::vector<int>> myInputs;
    std::vector<int> myKnots; ///< of each; -1 before it is known
    std::vector<int> myOrder, myLowest, myOpen;
    int myLast = 0;
    int myLastKnot = 0;
};

namespace
{

/// The shortest way from a node of a graph back to it, empty if there is none. `addInputs(node, inputs)`
/// appends what a node reads.
template <class Node, class AddInputs>
std::vector<Node> shortestWay(Node start, const AddInputs &addInputs)
{
    std::unordered_map<Node, Node> readers{{start, start}};
    std::vector<Node> found{start};
    std::vector<Node> inputs;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const Node reader = found[i];
        inputs.clear();
        addInputs(reader, inputs);
        for (const Node input : inputs) {
            if (input == start) {
                std::vector<Node> way{start};
                for (Node at = reader; at != start; at = readers[at]) {
                    way.push_back(at);
                }
                way.push_back(start);
                std::reverse(way.begin(), way.end());
                return way;
            }
            if (readers.emplace(input, reader).second) {
                found.push_back(input);
            }
        }
    }
    return {};
}

} // namespace

NOD_Graph::CycleSearch::CycleSearch(NOD_Graph &graph)
{
    NODforEachNode(*graph.myRoot, [&](NOD_Node &node) {
        if (const LNK_MicroNode *whole = graph.findWholeNode(node)) {
            add(graph, *whole);
        }
        NODforEachParm(node, [&](int, ZEL_Parm &parm) {
            for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
                add(graph, *parm.microNode(i));
            }
        });
    });
    KIT_Array<LNK_MicroNode *> inputs;
    for (const LNK_MicroNode *node : myNodes) {
        inputs.clear();
        node->getInputs(inputs);
        myInputs.emplace_back();
        for (const LNK_MicroNode *input : inputs) {
            const auto number = myNumbers.find(input);
            if (number != myNumbers.end()) {
                myInputs.back().push_back(number->second);
            }
        }
    }
    myKnots.assign(myNodes.size(), -1);
}

void NOD_Graph::CycleSearch::add(const NOD_Graph &graph, const LNK_MicroNode &node)
{
    myNumbers.emplace(&node, int(myNodes.size()));
    myNodes.push_back(&node);
    mySelf.push_back(graph.mySelfReaders.count(&node) != 0);
}

std::string NOD_Graph::CycleSearch::pathOf(int number) const
{
    return NOD_Graph::pathOf(*myNodes[std::size_t(number)]);
}

void NOD_Graph::CycleSearch::enter(int number, std::vector<Step> &walk)
{
    myOrder[std::size_t(number)] = myLowest[std::size_t(number)] = ++myLast;
    myOpen.push_back(number);
    walk.push_back({number, 0});
}

std::vector<int> NOD_Graph::CycleSearch::takeKnot(int root)
{
    std::vector<int> knot;
    do {
        knot.push_back(myOpen.back());
        myOpen.pop_back();
        myKnots[std::size_t(knot.back())] = myLastKnot;
    } while (knot.back() != root);
    ++myLastKnot;
    std::sort(knot.begin(), knot.end());
    return knot;
}

/// Depth first along the inputs: a knot ends where none of its members has read one that was entered
/// before all of them.
template <class Call>
void NOD_Graph::CycleSearch::forEachKnot(const Call &call)
{
    myOrder.assign(myNodes.size(), 0);
    myLowest.assign(myNodes.size(), 0);
    std::vector<Step> walk;
    for (int start = 0; start < int(myNodes.size()); ++start) {
        if (myOrder[std::size_t(start)] == 0) {
            enter(start, walk);
        }
        while (!walk.empty()) {
            const int number = walk.back().number;
            int &lowest = myLowest[std::size_t(number)];
            const std::vector<int> &inputs = myInputs[std::size_t(number)];
            if (walk.back().next < inputs.size()) {
                const int input = inputs[walk.back().next++];
                if (myOrder[std::size_t(input)] == 0) {
                    enter(input, walk);
                } else if (myKnots[std::size_t(input)] < 0) {
                    lowest = std::min(lowest, myOrder[std::size_t(input)]);
                }
                continue;
            }
            if (lowest == myOrder[std::size_t(number)]) {
                const std::vector<int> knot = takeKnot(number);
                if (knot.size() > 1 || readsItself(number)) {
                    call(knot);
                }
            }
            walk.pop_back();
            if (!walk.empty()) {
                int &outer = myLowest[std::size_t(walk.back().number)];
                outer = std::min(outer, lowest);
            }
        }
    }
}

std::vector<int> NOD_Graph::CycleSearch::shortestFrom(int start) const
{
    return shortestWay(start, [&](int reader, std::vector<int> &inputs) {
        for (const int input : myInputs[std::size_t(reader)]) {
            if (myKnots[std::size_t(input)] == myKnots[std::size_t(start)]) {
                inputs.push_back(input);
            }
        }
    });
}

// ---------------------------------------------------------------------- //
// Cycles
// ---------------------------------------------------------------------- //

std::vector<NOD_Graph::Cycle> NOD_Graph::findCycles()
{
    std::vector<std::vector<int>> found;
    if (!myRoot) {
        return {};
    }
    settle();
    CycleSearch search(*this);
    search.forEachKnot([&](const std::vector<int> &knot) {
        const auto self = std::find_if(knot.begin(), knot.end(),
                                       [&](int number) { return search.readsItself(number); });
        found.push_back(self != knot.end() ? std::vector<int>{*self, *self}
                                           : search.shortestFrom(knot.front()));
    });
    std::sort(found.begin(), found.end());
    std::vector<Cycle> cycles;
    for (const std::vector<int> &way : found) {
        cycles.emplace_back();
        for (const int number : way) {
            cycles.back().push_back(search.pathOf(number));
        }
    }
    return cycles;
}

NOD_Graph::Cycle NOD_Graph::findCycle(NOD_Node &node, int parmIndex, int component)
{
    settle();
    ZEL_Parm *const parm = node.getParms().getParmPtr(parmIndex);
    LNK_MicroNode *const start =
        parm && parm->hasMicroNodes() ? parm->microNode(component) : nullptr;
    if (!start) {
        return {};
    }
    if (mySelfReaders.count(start) != 0) {
        return {pathOf(*start), pathOf(*start)};
    }
    Cycle cycle;
    for (const LNK_MicroNode *each :
         shortestWay<const LNK_MicroNode *>(start, [](const LNK_MicroNode *reader, auto &inputs) {
             KIT_Array<LNK_MicroNode *> found;
             reader->getInputs(found);
             inputs.insert(inputs.end(), found.begin(), found.end());
         })) {
        cycle.push_back(pathOf(*each));
    }
    return cycle;
}

std::string NOD_Graph::pathOf(const LNK_MicroNode &node)
{
    if (const auto *const whole = dynamic_cast<const WholeNode *>(&node)) {
        return NODpathOf(whole->node);
    }
    const auto *const own = dynamic_cast<const ZEL_ParmMicroNode *>(&node);
    const ZEL_Parm *const parm = own ? own->parm() : nullptr;
    const auto *const of = parm ? dynamic_cast<const NOD_Node *>(parm->getParmOwner()) : nullptr;
    return of ? NODpathOf(*of, parm->getChannelToken(own->subIndex())) : "";
}

std::string NOD_Graph::asText(const Cycle &cycle)
{
    std::string text;
    for (const std::string &path : cycle) {
        text += (text.empty() ? "" : " -> ") + path;
    }
    return text;
}

// ---------------------------------------------------------------------- //
// Text and size
// ---------------------------------------------------------------------- //

void NOD_Graph::writeDOT(std::ostream &os)
{
    settle();
    KIT_Array<const LNK_MicroNode *> nodes;
    std::unordered_map<const LNK_MicroNode *, std::string> labels;
    const auto add = [&](const LNK_MicroNode &linked, std::string label) {
        if (linked.getNumInputs() > 0 || linked.getNumOutputs() > 0) {
            nodes.append(&linked);
            labels.emplace(&linked, std::move(label));
        }
    };
    if (myRoot) {
        NODforEachNode(*myRoot, [&](NOD_Node &node) {
            if (const LNK_MicroNode *whole = findWholeNode(node)) {
                add(*whole, NODpathOf(node));
            }
            NODforEachParm(node, [&](int, ZEL_Parm &parm) {
                for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
                    add(*parm.microNode(i), NODpathOf(node, parm.getChannelToken(i)));
                }
            });
        });
    }
    LNK_MicroNode::dumpAsDOT(os, "parameters", nodes,
                             [&](const LNK_MicroNode &node) { return labels[&node]; });
}

std::int64_t NOD_Graph::getMemoryUsage() const
{
    constexpr bool inclusive = true;
    auto bytes = std::int64_t(sizeof(*this)) + myLost->getMemoryUsage();
    if (myRoot) {
        NODforEachNode(
            *myRoot, [&](NOD_Node &node) { bytes += node.getParms().getMicroNodesMemoryUsage(); });
    }
    for (const auto &[node, whole] : myWholeNodes) {
        bytes += (whole ? whole->getMemoryUsage(inclusive) : 0) +
                 std::int64_t(sizeof(node) + sizeof(whole));
    }
    return bytes;
}
