#include <NOD/NOD_MenuFileCheck.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_FileMenu.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <string_view>

namespace
{

std::string nameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Whose data file it is; none for a name that no menu has.
std::optional<ZEL_FileMenu::Kind> kindOf(const std::string &path)
{
    for (int kind = 0; kind < ZEL_FileMenu::theKindCount; ++kind) {
        if (nameOf(path) == ZEL_FileMenu::getFileName(ZEL_FileMenu::Kind(kind))) {
            return ZEL_FileMenu::Kind(kind);
        }
    }
    return std::nullopt;
}

/// Where a quote is that isn't closed; npos for none.
std::size_t findOpenQuote(std::string_view line)
{
    std::size_t open = std::string_view::npos;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool insideFlag = open != std::string_view::npos;
        if (insideFlag && line[i] == '\\' && i + 1 < line.size() &&
            (line[i + 1] == line[open] || line[i + 1] == '\\')) {
            ++i;
        } else if (insideFlag && line[i] == line[open]) {
            open = std::string_view::npos;
        } else if (!insideFlag && (line[i] == '"' || line[i] == '\'')) {
            open = i;
        }
    }
    return open;
}

/// Judges line by line, by the fields that the menu's own reader finds.
class Judge
{
public:
    Judge(std::string_view text, const std::string &file, ZEL_FileMenu::Kind kind,
          NOD_Report &report)
        : myText(text), myFile(file), myKind(kind), myReport(report)
    {}

    int judgeAll()
    {
        const std::string_view mark = KIT_IStream::theByteOrderMark;
        std::size_t begin = myText.substr(0, mark.size()) == mark ? mark.size() : 0;
        for (myLine = 1; begin < myText.size(); ++myLine) {
            const std::size_t end = std::min(myText.find('\n', begin), myText.size());
            judge(begin, end);
            begin = end + 1;
        }
        return myRows;
    }

private:
    void judge(std::size_t begin, std::size_t end)
    {
        const std::string_view whole = myText.substr(begin, end - begin);
        const auto *const first = std::find_if_not(whole.begin(), whole.end(), BASisBlank);
        if (first == whole.end() || *first == '#') {
            return;
        }
        // To the reader a byte of zero ends the line.
        const std::string_view line = whole.substr(0, whole.find('\0'));
        const ZEL_FileMenu::Line taken = ZEL_FileMenu::takeApart(myKind, std::string(line).c_str());
        const std::size_t quote = findOpenQuote(line);
        if (line.size() < whole.size()) {
            tell(begin + line.size(), end, "has a byte of zero: the rest of the line isn't read");
        }
        if (quote != std::string_view::npos) {
            tell(begin + quote, end, "the quote isn't closed");
        }
        if (taken.rowFlag) {
            judgeToken(begin, end, taken.token);
        } else if (!taken.separatorFlag && taken.fields > 0) {
            const int fields = ZEL_FileMenu::getFieldCount(myKind);
            tell(begin + std::size_t(first - whole.begin()), end,
                 "has " + std::to_string(taken.fields) +
                     (taken.fields == 1 ? " field" : " fields") + ": " + std::to_string(fields) +
                     " make a row, " + std::to_string(fields - 1) +
                     " a separator; the line is skipped");
        }
        myRows += taken.rowFlag || taken.separatorFlag;
    }

    void judgeToken(std::size_t begin, std::size_t end, const std::string &token)
    {
        const auto [former, newFlag] = myTokens.emplace(token, myLine);
        if (!newFlag) {
            tell(begin, end,
                 "line " + std::to_string(former->second) + " has a row with this token already");
        }
    }

    void tell(std::size_t begin, std::size_t end, const std::string &text)
    {
        auto detail = std::make_shared<KIT_MessageDetail>();
        detail->place.setFromText(myText, begin, end, myLine);
        detail->place.file = myFile;
        myReport.add({KIT_ERROR_ABORT, myFile, myLine, {}, text, {}, 0, detail});
    }

    std::string_view myText;
    const std::string &myFile;
    ZEL_FileMenu::Kind myKind;
    NOD_Report &myReport;
    int myLine = 1;
    int myRows = 0;
    std::map<std::string, int> myTokens; ///< with their lines
};

} // namespace

bool NODisMenuFile(const std::string &path)
{
    return kindOf(path).has_value();
}

int NODcheckMenuFile(const std::string &path, NOD_Report &report)
{
    errno = 0;
    const std::optional<ZEL_FileMenu::Kind> kind = kindOf(path);
    const KIT_IFStream is(path.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (!kind || !is.isReadable()) {
        report.add({KIT_ERROR_ABORT, path, 0, {}, "can't be read: " + KITsystemReason(), {}, 0});
        return -1;
    }
    return Judge(is.rest(), path, *kind, report).judgeAll();
}
