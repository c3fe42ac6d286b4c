#include <NOD/NOD_Batch.h>

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>

NOD_Batch::NOD_Batch(NOD_Scene &scene) : NOD_Batch(&scene.getGraph()) {}

NOD_Batch::NOD_Batch(NOD_Node &node) : NOD_Batch(node.getGraph()) {}

NOD_Batch::NOD_Batch(NOD_Graph *graph) : myGraph(graph)
{
    if (myGraph) {
        myGraph->beginBatch();
    }
}

NOD_Batch::~NOD_Batch()
{
    if (myGraph) {
        myGraph->endBatch();
    }
}
