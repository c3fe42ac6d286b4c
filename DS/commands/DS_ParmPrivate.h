/// \file DS_ParmPrivate.h
/// A record of a dialog command.
///
/// Ownership:  owns the menu that was created for it.
/// Threads:    one thread at a time.

#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <memory>

class ZEL_API DS_Parm : public ZEL_ScriptParm
{
public:
    enum CommandFlag : unsigned
    {
        VECTOR = DIRECTION | COLOR, ///< sliders and expressions
        OBJECT_MENU = 0x8,          ///< without a menu it gets one of objects
        RENDER_MENU = 0x10          ///< or one of renderers
    };

    ZEL_ScriptGroup *newGroup(bool multi) override;
    ZEL_ScriptPage *newPage() override;

    ZEL_ChoiceList *getMadeMenu() const { return myMadeMenu.get(); }
    void setMadeMenu(std::unique_ptr<ZEL_ChoiceList> menu) { myMadeMenu = std::move(menu); }

private:
    std::unique_ptr<ZEL_ChoiceList> myMadeMenu;
};
