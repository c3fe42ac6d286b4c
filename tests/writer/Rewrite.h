// What the tests of the script writer share: a script read and written again, without its time.
#pragma once

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>

#include <sstream>
#include <string>

/// The line that differs from run to run, made the same.
inline std::string maskTime(std::string text)
{
    const std::string word = " * Generated: ";
    const size_t at = text.find(word);
    if (at != std::string::npos) {
        const size_t start = at + word.size();
        text.replace(start, text.find('\n', start) - start, "TIME");
    }
    return text;
}

/// What the writer makes of a reader's dialog.
inline std::string written(DS_ParmReader &reader, const char *creator = "test")
{
    std::ostringstream os;
    DS_Creator writer(reader, creator);
    writer.prepareToWriteOutput();
    writer.openOutput(os);
    writer.writeOutput();
    return maskTime(os.str());
}

inline std::string linesOf(const KIT_StringArray &texts)
{
    std::string all;
    for (const KIT_String &text : texts) {
        all += (all.empty() ? "" : "; ") + text.toStdString();
    }
    return all;
}

/// A script read and written again.
struct Rewritten
{
    explicit Rewritten(DS_Stream &stream, const char *source = "s.ds")
    {
        DS_ScriptReader reader(source);
        okFlag = reader.parse(stream);
        text = written(reader);
        losses = linesOf(reader.getLosses());
    }

    bool okFlag = false;
    std::string text;
    std::string losses;
};

inline Rewritten rewriteText(const std::string &script, const char *source = "s.ds")
{
    KIT_IStream memory(script.data(), script.size(), KIT_IStream::TEXT);
    DS_Stream stream(memory, "s", true);
    return Rewritten(stream, source);
}
