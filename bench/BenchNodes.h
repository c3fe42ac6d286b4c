/// \file BenchNodes.h
/// A scene of nodes for the measurements: 100 parameters each, of which 10 have three keys, and one reads the
/// same one of another node.
///
/// Vocabulary: *group* = 1,000 nodes in a row. The first of a group reads its own parameter 0, the others
///             read one before them, as in a binary tree: a change of that parameter reaches all.
#pragma once

#include "BenchScene.h"

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>

namespace bench
{

constexpr int theGroup = 1000;
constexpr int theReader = 1; ///< the parameter that reads
constexpr int theFirstKeyed = 90;

inline std::shared_ptr<const NOD_Interface> makeNodeType()
{
    NOD_InterfaceBuilder builder("bench_node");
    NOD_Report report;
    for (int p = 0; p < theParms; ++p) {
        builder.add(ZEL_FLT, nameOf(p));
    }
    std::shared_ptr<const NOD_Interface> made = builder.make(report);
    require(made != nullptr, "no node type");
    return made;
}

inline std::string nodeName(int number)
{
    return "node" + std::to_string(number);
}

inline void fillNode(NOD_Node &node, int number)
{
    ZEL_ParmList &parms = node.getParms();
    for (int p = 0; p < theFirstKeyed; ++p) {
        if (p != theReader) {
            parms.setFloat(numberOf(0, number, p), nameOf(p).c_str(), 0, 0.0, false);
        }
    }
    for (int p = theFirstKeyed; p < theParms; ++p) {
        ZEL_FloatHandle handle(parms, nameOf(p));
        for (const double time : {0.0, 1.0, 2.0}) {
            require(handle.key(time, numberOf(0, number, p, int(time))), "no key");
        }
    }
    const int place = number % theGroup;
    const std::string read =
        place == 0 ? nameOf(0)
                   : "../" + nodeName(number - place + (place - 1) / 2) + "/" + nameOf(theReader);
    parms.getParmPtr(theReader)->setExpression(0.0, ("ch(\"" + read + "\")").c_str(),
                                               TRK_LANGUAGE_NATIVE, 0, false, true, true);
}

/// Of that many nodes below the root, in one batch.
inline std::unique_ptr<NOD_Scene> makeNodes(int count)
{
    static const std::shared_ptr<const NOD_Interface> theType = makeNodeType();
    auto scene = std::make_unique<NOD_Scene>();
    NOD_Report report;
    const NOD_Batch batch(*scene);
    for (int i = 0; i < count; ++i) {
        NOD_Node *const node = scene->add("/" + nodeName(i), theType, report);
        require(node != nullptr, "no node");
        fillNode(*node, i);
    }
    return scene;
}

/// The scene of that many nodes that was asked for last, or else a new one, which `prepare` completes.
template <class Prepare>
NOD_Scene &sceneOf(int count, const Prepare &prepare)
{
    static std::unique_ptr<NOD_Scene> theScene;
    static int theSize = 0;
    if (theSize != count) {
        theScene.reset();
        theSize = count;
        theScene = makeNodes(count);
        prepare(*theScene);
    }
    return *theScene;
}

/// How many components a change of a group's first parameter reaches, itself included.
inline int reachOf(int count)
{
    return std::min(count, theGroup) + 1;
}

} // namespace bench
