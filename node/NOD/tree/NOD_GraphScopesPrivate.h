/// \file NOD_GraphScopesPrivate.h
/// What the graph does and undoes around an evaluation, also where that ends for want of memory.
#pragma once

#include <NOD/NOD_Graph.h>

#include <new>
#include <utility>

/// While it lives, what is read becomes the reader's references.
class NOD_Graph::Reading
{
public:
    Reading(NOD_Graph &graph, const Reader &reader)
        : myGraph(graph), myOuter(std::exchange(graph.myReader, reader)), myScope(graph)
    {}
    ~Reading() { myGraph.myReader = myOuter; }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;

private:
    NOD_Graph &myGraph;
    Reader myOuter;
    TRK_ReferenceScope myScope;
};

/// Whatever it leaves half done without memory, the next flush does again.
template <class Call>
auto NOD_Graph::orBroken(const Call &call)
{
    try {
        return call();
    } catch (const std::bad_alloc &) {
        myBrokenFlag = true;
        throw;
    }
}
