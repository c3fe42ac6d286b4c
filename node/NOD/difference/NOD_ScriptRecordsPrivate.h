/// \file NOD_ScriptRecordsPrivate.h
/// What a dialog script declares, as records. Not installed.
///
/// Threads:    as NODdescribe().
#pragma once

#include <NOD/NOD_Record.h>

class NOD_Interface;

/// Adds the dialog's properties and its declarations, those of folders and blocks in theirs. Folders are known by their
/// names or labels, parameters by their tokens.
void NODreadScript(const NOD_Interface &interface, NOD_Record &top);
