/// \file DS_ScriptReaderPrivate.h
/// The parser of DS_ScriptReader: it keeps the keywords that pages and parameters otherwise skip.
///
/// Ownership:  DS_ScriptReader owns the dialog, the dialog its page; pages and parameters borrow it.
/// Threads:    one thread at a time.
/// Errors:     as ZEL_ScriptPage. A keyword cut short by the end of the text keeps nothing.
#pragma once

#include <DS/DS_HandleBinding.h>
#include <DS/DS_ScriptReader.h>
#include <DS/DS_SelectorBinding.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// The text as one token of a script: bare if it is a plain word, else in quotes with escapes.
std::string DSscriptWord(const char *text);
/// In quotes, with escapes.
std::string DSscriptQuoted(const char *text);

/// A page that keeps the application's keywords; the outermost one also keeps help and texts.
class DS_ScriptReader::Page : public ZEL_ScriptPage
{
public:
    Page(Dialog &dialog, bool outermost) : myDialog(dialog), myOutermostFlag(outermost) {}

    ZEL_ScriptParm *newParm() override;
    ZEL_ScriptPage *newImportPage() override;
    int parseHelp(DS_Stream &stream, KIT_String &help) override;
    int handleUnknown(DS_Stream &stream, KIT_String &token) override;

private:
    void takeText(const KIT_String &keyword, const std::vector<KIT_String> &words);

    Dialog &myDialog;
    bool myOutermostFlag;
};

/// A parameter with its bindings.
class DS_ScriptReader::Parm : public ZEL_ScriptParm
{
public:
    explicit Parm(Dialog &dialog) : myDialog(dialog) {}

    ZEL_ScriptPage *newPage() override;
    int handleUnknown(DS_Stream &stream, KIT_String &token) override;

    const std::vector<DS_HandleBinding> &getHandles() const { return myHandles; }
    const DS_SelectorBinding *getSelector() const { return mySelector.get(); }

private:
    Dialog &myDialog;
    std::vector<DS_HandleBinding> myHandles;
    std::unique_ptr<DS_SelectorBinding> mySelector;
};

/// The contents of a script besides its parameters.
struct DS_ScriptReader::Dialog
{
    Page page{*this, true};
    KIT_String source;
    KIT_String script;
    KIT_String help;
    KIT_String info;
    KIT_String renderMask;
    std::map<int, std::string> inputLabels; // in script form, by input from 0
    std::vector<DS_HandleBinding> boundHandles;
    std::vector<DS_HandleBinding> reservedHandles;
    std::vector<DS_SelectorBinding> unboundSelectors;
    std::vector<DS_SelectorBinding> reservedSelectors;
};
