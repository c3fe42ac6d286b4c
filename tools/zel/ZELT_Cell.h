/// \file ZELT_Cell.h
/// The evaluated value of one component, and how it is printed.
///
/// Threads:    any, as the evaluation of the parameter.
#pragma once

#include "ZELT_Json.h"

#include <KIT/KIT_ErrorManager.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

class ZEL_Parm;

/// A float, an ordinal or a text; nothing without a value.
using ZELT_Cell = std::variant<std::monostate, double, std::int64_t, std::string>;

/// Why the reads of a scope gave no valid value. An expression leaves the thread's error number; a
/// literal text that is expanded, also one that an expression refers to, reports a message. The
/// number is cleared at the scope's end; messages go to the error manager outside of it.
class ZELT_EvaluationErrors
{
public:
    explicit ZELT_EvaluationErrors(int thread);
    ~ZELT_EvaluationErrors();
    ZELT_EvaluationErrors(const ZELT_EvaluationErrors &) = delete;
    ZELT_EvaluationErrors &operator=(const ZELT_EvaluationErrors &) = delete;

    /// The first one; EVL_OK without any.
    int find();

private:
    KIT_ErrorManager::Scope myMessages;
};

/// Texts are expanded.
ZELT_Cell ZELTevaluate(const ZEL_Parm &parm, int index, double time, int thread);

/// The word that a number stands for, of those from 0 on (NODordinalWords); null if it stands for itself.
const std::string *ZELTwordOf(const std::vector<std::string> &words, const ZELT_Cell &cell);
/// As ZELTcellText, with the word instead of a number that has one.
std::string ZELTwordText(const std::vector<std::string> &words, const ZELT_Cell &cell, bool failed);
/// A number, a text in quotes, or `-`, with a `!` after it if the evaluation failed.
std::string ZELTcellText(const ZELT_Cell &cell, bool failed);
/// A number, a text, or null.
ZELT_Json ZELTcellJson(const ZELT_Cell &cell);
