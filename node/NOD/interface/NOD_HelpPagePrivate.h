/// \file NOD_HelpPagePrivate.h
/// A page of a dialog script that keeps its help text.
#pragma once

#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <string>

class NOD_HelpPage : public ZEL_ScriptPage
{
public:
    ZEL_ScriptParm *newParm() override { return new Parm; }
    ZEL_ScriptPage *newImportPage() override { return new NOD_HelpPage; }
    int parseHelp(DS_Stream &stream, KIT_String &help) override;

    /// A line for each text of the block; "" without one.
    const std::string &getHelp() const { return myHelp; }

private:
    class Parm : public ZEL_ScriptParm
    {
    public:
        ZEL_ScriptPage *newPage() override { return new NOD_HelpPage; }
    };

    std::string myHelp;
};
