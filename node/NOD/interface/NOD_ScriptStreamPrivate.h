/// \file NOD_ScriptStreamPrivate.h
/// A script's tokens whose messages, those of the preprocessor included, go to a report.
///
/// Ownership:  borrows the report.
/// Threads:    one thread at a time.
#pragma once

#include <DS/DS_Stream.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>

#include <string>

class NOD_ScriptStream : public DS_Stream
{
public:
    NOD_ScriptStream(KIT_IStream &is, const std::string &name, NOD_Report &report,
                     NOD_Interface::Includes includes);

    void cppWarning(const char *text) override;
    void cppError(const char *text) override;

private:
    void add(KIT_ErrorSeverity severity, const std::string &file, int line, std::string text);
    void addPlaced(KIT_ErrorSeverity severity, const std::string &text);
    static void take(void *data, KIT_ErrorSeverity severity, const char *file, int line,
                     const char *text);

    NOD_Report &myReport;
};
