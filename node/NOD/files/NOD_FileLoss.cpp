#include <NOD/NOD_FileLoss.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionFilePrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <TOK/TOK_SourceTokens.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_ParmStream.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace
{

using Comments = std::vector<std::string>;

constexpr char theComment = '#';
constexpr const char *theCommentStarts = "#/";                  // of a script, too
constexpr const char *theFrameWords[] = {"#STO_INDEX", "#END"}; // lines of the form itself

bool isNote(const std::string &comment)
{
    const std::string mark = std::string("# ") + theNODConflictMark;
    return comment.compare(0, mark.size(), mark) == 0;
}

void addOfStream(KIT_IStream &is, Comments &comments)
{
    ZEL_ParmStream stream;
    stream.read(is, nullptr);
    comments.insert(comments.end(), stream.getComments().begin(), stream.getComments().end());
}

void addOfChannels(KIT_IStream &is, Comments &comments)
{
    TRK_Collection channels;
    channels.load(is, &comments);
}

/// Both follow their words.
void addOfPreset(KIT_IStream &is, Comments &comments)
{
    std::string_view word;
    while (is.getWord(word)) {
        if (word == theChannelSection) {
            addOfChannels(is, comments);
        } else if (word == theValueSection) {
            addOfStream(is, comments);
        }
    }
}

/// Both forms of a script.
void addOfScript(std::string_view text, Comments &comments)
{
    const TOK_SourceTokens tokens(text);
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        if (token.kind == TOK_SourceTokens::LINE_COMMENT ||
            token.kind == TOK_SourceTokens::BLOCK_COMMENT) {
            comments.emplace_back(token.text);
        }
    }
}

/// Lines that are nothing else, as between sections, whose own lines are indented.
void addLines(std::string_view bytes, Comments &comments)
{
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    is.skipByteOrderMark();
    KIT_WorkBuffer line;
    while (is.getLine(line)) {
        const std::string_view text = line.view();
        const bool frameFlag = std::any_of(
            std::begin(theFrameWords), std::end(theFrameWords),
            [&](std::string_view word) { return text.substr(0, text.find(' ')) == word; });
        if (!text.empty() && text[0] == theComment && !frameFlag) {
            comments.emplace_back(text);
        }
    }
}

void addOfSection(const NOD_SectionFile::Section &section, NOD_FileKind kind, Comments &comments)
{
    KIT_IStream is(section.text.data(), section.text.size(), KIT_IStream::TEXT);
    const std::string what = NODkindOf(section.name);
    if (section.text.find_first_of(theCommentStarts) == std::string_view::npos) {
        return;
    }
    if (kind == NOD_FileKind::PRESETS) {
        addOfPreset(is, comments);
    } else if (what == theChannelSection) {
        addOfChannels(is, comments);
    } else if (what == theValueSection) {
        addOfStream(is, comments);
    } else if (what == theSpareSection) {
        addOfScript(section.text, comments);
    } else if (what == theSceneSection || what == thePartSection || what == theNodeSection) {
        addLines(section.text, comments);
    }
}

void addOfSections(const std::string &bytes, NOD_FileKind kind, const std::string &part,
                   Comments &comments)
{
    NOD_SectionFile file;
    NOD_Report ignored;
    file.read(bytes, "", ignored);
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        if (part.empty() ||
            part == (kind == NOD_FileKind::PRESETS ? section.name : NODrestOf(section.name))) {
            addOfSection(section, kind, comments);
        }
    }
    if (part.empty()) {
        addLines(bytes, comments);
    }
}

} // namespace

std::vector<NOD_FileLoss> NODcommentLosses(const Comments &comments, const std::string &file)
{
    std::vector<NOD_FileLoss> losses;
    for (const bool noteFlag : {false, true}) {
        const auto first =
            std::find_if(comments.begin(), comments.end(),
                         [&](const std::string &comment) { return isNote(comment) == noteFlag; });
        if (first != comments.end()) {
            losses.push_back({file, *first});
        }
    }
    return losses;
}

std::vector<NOD_FileLoss> NODfindComments(const std::string &bytes, const std::string &file,
                                          const std::string &part)
{
    if (NOD_ValueFile::isBinary(bytes) ||
        bytes.find_first_of(theCommentStarts) == std::string::npos) {
        return {};
    }
    const KIT_ErrorManager::Scope toldByReaders(BASgetSTID());
    const NOD_FileKind kind = NOD_ValueFile::kindOf(std::string_view(bytes));
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    Comments comments;
    switch (kind) {
    case NOD_FileKind::STREAM: addOfStream(is, comments); break;
    case NOD_FileKind::CHANNELS: addOfChannels(is, comments); break;
    case NOD_FileKind::PRESET: addOfPreset(is, comments); break;
    case NOD_FileKind::PRESETS:
    case NOD_FileKind::NODE:
    case NOD_FileKind::SCENE: addOfSections(bytes, kind, part, comments); break;
    default: break;
    }
    return NODcommentLosses(comments, file);
}

std::vector<NOD_FileLoss> NODfindFrameComments(const std::string &bytes, const std::string &file)
{
    Comments comments;
    if (!NOD_ValueFile::isBinary(bytes)) {
        addLines(bytes, comments);
    }
    return NODcommentLosses(comments, file);
}

bool NODcheckLosses(const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                    NOD_Report &report)
{
    const int before = report.getErrorCount();
    for (const NOD_FileLoss &loss : losses) {
        const bool commentFlag = !loss.comment.empty();
        const bool noteFlag = isNote(loss.comment);
        if (rule.isAllowed && !commentFlag) {
            continue; // told when it was read
        }
        const bool warningFlag = noteFlag || rule.isAllowed;
        const std::string offer =
            warningFlag || rule.offer.empty() ? std::string() : "; " + rule.offer;
        const std::string comment = NODquoted(loss.comment);
        report.add({warningFlag ? KIT_ERROR_WARNING : KIT_ERROR_ABORT,
                    loss.file,
                    0,
                    {},
                    noteFlag      ? "has notes of conflicts, as " + comment + ", which aren't kept"
                    : commentFlag ? "has comments, as " + comment + ", which aren't kept" + offer
                                  : "not all of it is carried" + offer,
                    {},
                    0});
    }
    return report.getErrorCount() == before;
}
