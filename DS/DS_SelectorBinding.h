/// \file DS_SelectorBinding.h
/// What ties a viewport selector to a parameter of the dialog; a record of the script writer.
/// The setters are for applications whose DS_ParmReader fills its records piece by piece.
///
/// Ownership:  owns copies of its texts.
/// Threads:    const calls from any thread.
/// Errors:     none. A text that was never set, or set to null, is "".

#pragma once

#include <KIT/KIT_StringHolder.h>

class DS_SelectorBinding
{
public:
    DS_SelectorBinding() = default;
    DS_SelectorBinding(const char *parmName, const char *type, const char *desc, const char *prompt,
                       const char *primMask, const char *menu)
        : myParmName(parmName), myType(type), myDesc(desc), myPrompt(prompt), myPrimMask(primMask),
          myMenu(menu)
    {}

    /// The parameter that takes what was selected.
    const char *getParmName() const { return myParmName.nonNullStr(); }
    void setParmName(const char *text) { myParmName = text; }
    /// The kind of selector.
    const char *getType() const { return myType.nonNullStr(); }
    void setType(const char *text) { myType = text; }
    /// What the interface calls it.
    const char *getDesc() const { return myDesc.nonNullStr(); }
    void setDesc(const char *text) { myDesc = text; }
    /// What asks the user to select.
    const char *getPrompt() const { return myPrompt.nonNullStr(); }
    void setPrompt(const char *text) { myPrompt = text; }
    /// The primitives that may be selected.
    const char *getPrimMask() const { return myPrimMask.nonNullStr(); }
    void setPrimMask(const char *text) { myPrimMask = text; }
    /// The menu of the selector.
    const char *getMenu() const { return myMenu.nonNullStr(); }
    void setMenu(const char *text) { myMenu = text; }
    /// The index, from 0, of the input that is selected from.
    int getInputIndex() const { return myInputIndex; }
    void setInputIndex(int value) { myInputIndex = value; }
    /// Not 0: the input must be connected.
    int getInputRequired() const { return myInputRequired; }
    void setInputRequired(int value) { myInputRequired = value; }
    /// Not 0: a selection of everything is written as an asterisk.
    int getAsterisk() const { return myAsterisk; }
    void setAsterisk(int value) { myAsterisk = value; }
    /// Not 0: the selector may be dragged.
    int getDragging() const { return myDragging; }
    void setDragging(int value) { myDragging = value; }

private:
    KIT_StringHolder myParmName;
    KIT_StringHolder myType;
    KIT_StringHolder myDesc;
    KIT_StringHolder myPrompt;
    KIT_StringHolder myPrimMask;
    KIT_StringHolder myMenu;
    int myInputIndex = 0;
    int myInputRequired = 0;
    int myAsterisk = 0;
    int myDragging = 0;
};
