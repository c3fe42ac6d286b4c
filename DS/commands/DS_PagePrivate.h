/// \file DS_PagePrivate.h
/// A page of a dialog command: a script page that keeps its help and icon, and counts the templates
/// that commands create from its records.
///
/// Threads:    one thread at a time.

#pragma once

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptPage.h>

class DS_Page : public ZEL_ScriptPage
{
public:
    /// Templates directly in a folder: a set of folders counts as one.
    int countParameters() const override;
    ZEL_ScriptParm *newParm() override;
    /// Imported records become part of the command like the others.
    ZEL_ScriptPage *newImportPage() override;
    /// Adds the block to the help text.
    int parseHelp(DS_Stream &stream, KIT_String &help) override;
    int handleUnknown(DS_Stream &stream, KIT_String &token) override;

    const KIT_String &getHelpText() const { return myHelpText; }
    const KIT_String &getIcon() const { return myIcon; }

private:
    void appendHelp(const KIT_String &text);

    KIT_String myHelpText;
    KIT_String myIcon{"Question"};
};
