#include <NOD/NOD_Drag.h>

#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>

NOD_Drag::NOD_Drag(NOD_Scene &scene, const std::string &label) : NOD_Drag(scene.getUndo(), label) {}

NOD_Drag::NOD_Drag(NOD_UndoStack &stack, const std::string &label) : myStack(&stack)
{
    myStack->begin(label);
}

NOD_Drag::~NOD_Drag()
{
    if (myStack) {
        myStack->endOrForget();
    }
}

bool NOD_Drag::cancel()
{
    const bool cancelled = myStack && myStack->cancel();
    myStack = cancelled ? nullptr : myStack;
    return cancelled;
}
