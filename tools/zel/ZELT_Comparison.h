/// \file ZELT_Comparison.h
/// Two files of a command line, as what is compared.
///
/// Ownership:  owns both.
/// Errors:     false after a message with the file.
#pragma once

#include "ZELT_Script.h"

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>

#include <string>

class ZELT_Messages;

class ZELT_Comparison
{
public:
    explicit ZELT_Comparison(bool isExact) : myExactFlag(isExact) {}

    /// Of one kind; with a script, of any: they are then what they make of a node. "-" is standard input. Of a script
    /// that is "", `.zelscripts` may say it for `path`, what the files are called where they come from; "" for their
    /// own names.
    bool read(const std::string &script, const std::string &left, const std::string &right,
              const std::string &path, ZELT_Messages &messages);
    /// One state, from its bytes; the script is null for none. The name is for messages, what it includes is beside the
    /// file.
    bool readOne(const ZELT_ScriptPtr &script, const std::string &name, const std::string &file,
                 const std::string &bytes, NOD_Document &document, ZELT_Messages &messages);
    const NOD_Document &getLeft() const { return myLeft; }
    const NOD_Document &getRight() const { return myRight; }
    bool isOfScripts() const { return myLeftScript && myRightScript; }
    /// Null unless both are dialog scripts.
    const ZELT_ScriptPtr &getLeftScript() const { return myLeftScript; }
    const ZELT_ScriptPtr &getRightScript() const { return myRightScript; }

private:
    bool readAny(const std::string &name, const std::string &file, const std::string &bytes,
                 NOD_Document &document, ZELT_Messages &messages);

    bool myExactFlag;
    bool myNodeFlag = false; ///< they are of different kinds
    ZELT_ScriptPtr myScript;
    NOD_Document myLeft;
    NOD_Document myRight;
    ZELT_ScriptPtr myLeftScript;
    ZELT_ScriptPtr myRightScript;
};

/// The script that `.zelscripts` says for a file; false after a message. Null, and true, if it says none.
bool ZELTfindScript(const std::string &file, ZELT_ScriptPtr &script, ZELT_Messages &messages);
