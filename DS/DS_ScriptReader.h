/// \file DS_ScriptReader.h
/// Supplies a parsed dialog script to the script writer.
///
/// Vocabulary: *page* = the script as it was parsed. *script form* = a text as it stands in a script;
///             what the writer writes as it stands (names, labels of parameters and folders,
///             conditions, lines of menu scripts) is in the records in this form, so that a script
///             that is written again can be read again. *loss* = a part of the script that the
///             writer can't express. An array record represents a block of items, or, without a
///             name, an empty folder: only its folder is written.
/// Units:      inputs from 0; labels of inputs from theMostInputs on are dropped.
/// Ownership:  owns the page and the texts. Records as in DS_ParmReader.
/// Threads:    one thread at a time.
/// Errors:     parse() returns what ZEL_ScriptPage returns. getLosses() reports the losses.

#pragma once

#include <DS/DS_ParmReader.h>
#include <KIT/KIT_StringArray.h>

#include <memory>
#include <string>

class DS_Stream;
class ZEL_ScriptPage;
class ZEL_ScriptParm;

class ZEL_API DS_ScriptReader : public DS_ParmReader
{
public:
    static constexpr int theMostInputs = 10000;

    /// `source` is reported as the script's source if the script has no `script` keyword; null is
    /// none.
    explicit DS_ScriptReader(const char *source);
    ~DS_ScriptReader() override;
    DS_ScriptReader(const DS_ScriptReader &) = delete;
    DS_ScriptReader &operator=(const DS_ScriptReader &) = delete;

    /// Reads one script, once. False at its first error, which the stream reports.
    bool parse(DS_Stream &stream);
    /// For callers that parse themselves: a page that keeps what ZEL_ScriptPage drops.
    ZEL_ScriptPage &getPage();
    /// What prepareParms() couldn't express, a sentence each.
    const KIT_StringArray &getLosses() const { return myLosses; }

    const char *getClassName() const override;
    void subclassHook1() override;
    void subclassHook2() override;
    /// Makes the page's records again.
    void prepareParms() override;
    const char *getDialogName() override;
    const char *getDialogScript() override;
    const char *getDialogLabel() override;
    const char *getHelpText() override;
    const char *getInfoText() override;
    const char *getInputLabel(int input) override;
    int getNumInputLabels() const override;
    const char *getRenderMask() override;

private:
    struct Dialog;
    class Page;
    class Parm;

    void clearRecords();
    void addPage(const ZEL_ScriptPage &page, const std::string &path);
    void addFolder(const ZEL_ScriptPage &folder, const std::string &path, std::string &last);
    DS_ParmInfo &appendParm(const char *name);
    DS_ParmInfo &addUnwritten(const char *name, const std::string &path);
    void addRecord(ZEL_ScriptParm &parm, const std::string &path);
    void addBlock(const ZEL_ScriptParm &parm, const std::string &path);
    void addLoss(const char *name, const char *what);
    KIT_String blockText(const ZEL_ScriptParm &parm, const char *text, const char *brackets);
    void takeTexts(DS_ParmInfo &info, ZEL_ScriptParm &parm);
    void takeMenu(DS_ParmInfo &info, const ZEL_ScriptParm &parm);
    void takeDefaults(DS_ParmInfo &info, const ZEL_ScriptParm &parm);
    bool takeChoices(DS_ParmInfo &info, const ZEL_ScriptParm &parm);
    void takeConditions(DS_ParmInfo &info, const ZEL_ScriptParm &parm);

    std::unique_ptr<Dialog> myDialog;
    KIT_StringArray myLosses;
};
