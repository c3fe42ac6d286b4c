#include <NOD/interface/NOD_ScriptStreamPrivate.h>

#include <cstdlib>

NOD_ScriptStream::NOD_ScriptStream(KIT_IStream &is, const std::string &name, NOD_Report &report,
                                   NOD_Interface::Includes includes)
    : DS_Stream(is, name.c_str(), includes == NOD_Interface::Includes::NONE), myReport(report)
{
    if (includes == NOD_Interface::Includes::CONFINED) {
        setIncludesConfined(true);
    }
    setDetails(true);
    setOwnSink(take, this);
}

void NOD_ScriptStream::cppWarning(const char *text)
{
    addPlaced(KIT_ERROR_WARNING, text);
}

void NOD_ScriptStream::cppError(const char *text)
{
    addPlaced(KIT_ERROR_ABORT, text);
}

void NOD_ScriptStream::add(KIT_ErrorSeverity severity, const std::string &file, int line,
                           std::string text)
{
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    myReport.add({severity,
                  file,
                  line,
                  {},
                  text,
                  theKITCommonCategory,
                  KIT_COMMON_BAD_SCRIPT,
                  makeDetail()});
}

void NOD_ScriptStream::take(void *data, KIT_ErrorSeverity severity, const char *file, int line,
                            const char *text)
{
    static_cast<NOD_ScriptStream *>(data)->add(severity, file ? file : "", line, text);
}

/// The preprocessor's texts begin with their place, which may be in an included file.
void NOD_ScriptStream::addPlaced(KIT_ErrorSeverity severity, const std::string &text)
{
    const std::size_t close = text.find("): ");
    const std::size_t open = close == std::string::npos ? close : text.rfind('(', close);
    if (open == std::string::npos || open == 0) {
        add(severity, "", 0, text);
    } else {
        add(severity, text.substr(0, open), std::atoi(text.c_str() + open + 1),
            text.substr(close + 3));
    }
}
