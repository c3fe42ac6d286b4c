/// \file ZELT_Commands.h
/// The commands of the tool, one function each.
///
/// Errors:     each answers the exit code: 0, or 1 when the input was at fault. Wrong calls never
///             get here. Results go to standard output, messages through ZELT_Messages.
#pragma once

#include "ZELT_Session.h"

#include <string>
#include <vector>

class ZELT_Messages;
class ZEL_Template;

/// What every command takes.
struct ZELT_Options
{
    bool json = false;      ///< one JSON document, messages as JSON lines
    bool noScripts = false; ///< no menu script and no Python expression runs
};

struct ZELT_CheckCall
{
    std::vector<std::string> files;
};
int ZELTcheck(const ZELT_CheckCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_ShowCall
{
    std::string file;
};
int ZELTshow(const ZELT_ShowCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_EvalCall
{
    std::string file;
    std::vector<std::string> tokens; ///< addresses; none: all parameters
    ZELT_Inputs inputs;
    double time = 0.0;
    std::string frames; ///< "A:B" or "A:B:STEP"; empty: `time`
    int threads = 1;    ///< 0: as many as there are cores
};
int ZELTeval(const ZELT_EvalCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_StateCall
{
    std::string file;
    ZELT_Inputs inputs;
    double time = 0.0;
};
int ZELTstate(const ZELT_StateCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_ConvertCall
{
    std::string file;
    std::string from;
    std::string to;
    std::string form; ///< "text" or "binary"
    bool compact = false;
};
int ZELTconvert(const ZELT_ConvertCall &call, const ZELT_Options &options, ZELT_Messages &messages);
/// Writes a file as STO_Writer does, so that no half of it is ever there. A link is followed;
/// a pipe or device is written to as it is.
bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages);

struct ZELT_DiffCall
{
    std::string file;
    std::string left;
    std::string right;
};
int ZELTdiff(const ZELT_DiffCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_RewriteCall
{
    std::string file;
};
int ZELTrewrite(const ZELT_RewriteCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_RampCall
{
    std::string file;
    std::string token;
    ZELT_Inputs inputs;
    double time = 0.0;
    std::string svg; ///< the picture to write
};
int ZELTramp(const ZELT_RampCall &call, const ZELT_Options &options, ZELT_Messages &messages);

struct ZELT_ShellCall
{
    std::string file;
};
int ZELTshell(const ZELT_ShellCall &call, const ZELT_Options &options, ZELT_Messages &messages);
