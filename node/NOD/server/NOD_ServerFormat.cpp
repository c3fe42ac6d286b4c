#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptFormat.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using Json = NOD_ServerJson;

std::string formatted(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document)
{
    std::string result;
    NOD_Report report;
    const std::string &text = document.file()->getText().get();
    if (!NODformatScript(text, document.getPath(), {}, result, report,
                         workspace.includesFor(document))) {
        const std::vector<NOD_Message> &all = report.getMessages();
        const auto first = std::find_if(all.begin(), all.end(), [](const NOD_Message &one) {
            return one.severity >= KIT_ERROR_ABORT;
        });
        throw NOD_ServerError{NOD_ServerError::REQUEST_FAILED,
                              "can't be laid out" +
                                  (first == all.end() ? "" : ": " + first->asText())};
    }
    return result;
}

/// The bytes [begin, end) of a document and what they become.
struct Edit
{
    std::size_t begin;
    std::size_t end;
    std::string_view text;
};

/// The blanks between words, and comments, where they differ; the words are the same in both.
std::vector<Edit> editsBetween(const NOD_ServerSource &was, const NOD_ServerSource &now)
{
    std::vector<Edit> edits;
    const auto add = [&](std::size_t begin, std::size_t end, std::string_view text) {
        if (was.getText().substr(begin, end - begin) != text) {
            edits.push_back({begin, end, text});
        }
    };
    const std::size_t count = was.getTokens().size();
    if (count != now.getTokens().size()) {
        add(0, was.getText().size(), now.getText());
        return edits;
    }
    std::size_t before = 0;
    std::size_t after = 0;
    for (int i = 0; i < int(count); ++i) {
        const NOD_ServerSource::Token &old = was.token(i);
        const NOD_ServerSource::Token &made = now.token(i);
        add(before, old.begin, now.getText().substr(after, made.begin - after));
        add(old.begin, old.end, now.raw(i));
        before = old.end;
        after = made.end;
    }
    add(before, was.getText().size(), now.getText().substr(after));
    return edits;
}

/// What edits in their order do together.
std::string joined(std::string_view text, const std::vector<Edit> &edits)
{
    std::string result;
    std::size_t at = edits.front().begin;
    for (const Edit &edit : edits) {
        result.append(text.substr(at, edit.begin - at)).append(edit.text);
        at = edit.end;
    }
    return result;
}

/// Those of the edits that are within [from, to). Very many become one, which is smaller than they are.
Json answerOf(const NOD_ServerFile &file, const std::string &result, std::size_t from,
              std::size_t to)
{
    constexpr std::size_t theMostEdits = 10000;
    const NOD_ServerSource now(result);
    std::vector<Edit> edits = editsBetween(file.getSource(), now);
    const auto others = std::remove_if(edits.begin(), edits.end(), [from, to](const Edit &edit) {
        return edit.begin < from || edit.end > to;
    });
    edits.erase(others, edits.end());
    std::string whole;
    if (edits.size() > theMostEdits) {
        whole = joined(file.getSource().getText(), edits);
        edits.assign(1, Edit{edits.front().begin, edits.back().end, whole});
    }
    NOD_ServerTextWalk walk(file.getText());
    Json answer = Json::array();
    for (const Edit &edit : edits) {
        answer.push_back(NODserverEdit(walk, edit.begin, edit.end, std::string(edit.text)));
    }
    return answer;
}

} // namespace

NOD_ServerJson NODserverFormat(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                               const NOD_ServerJson &)
{
    const std::string result = formatted(workspace, document);
    const NOD_ServerFile &file = *document.file();
    return answerOf(file, result, 0, file.getText().get().size());
}

NOD_ServerJson NODserverFormatRange(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                    const NOD_ServerJson &params)
{
    const NOD_ServerText &text = document.file()->getText();
    const NOD_ServerJson &range = NODserverMember(params, "range");
    std::size_t from = NODserverOffset(text, NODserverMember(range, "start"));
    const std::size_t to = NODserverOffset(text, NODserverMember(range, "end"));
    // The blanks in front of the first line belong to it.
    from = text.getLineBegin(text.findLine(from));
    from = text.get().find_last_not_of(" \t\r\n", from == 0 ? 0 : from - 1) + 1;
    return answerOf(*document.file(), formatted(workspace, document), from, to);
}
