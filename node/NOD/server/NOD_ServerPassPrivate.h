/// \file NOD_ServerPassPrivate.h
/// Everything that is wrong with a document: what the reader and the rules of lint say, with places in its
/// text.
///
/// Units:      offsets in bytes of the document.
/// Ownership:  keeps the text as it was.
/// Threads:    run() may be called in another thread than the rest, by one at a time.
/// Cost:       of reading the script for its mistakes, and of judging it.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_ScriptServer.h>
#include <NOD/server/NOD_ServerTextPrivate.h>

#include <memory>
#include <string>
#include <vector>

struct KIT_MessageDetail;
struct KIT_MessagePlace;
struct NOD_LintFinding;
struct NOD_Message;

/// Edits after which a mistake is gone.
struct NOD_ServerFix
{
    struct Edit
    {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };

    std::string title;
    std::vector<Edit> edits;
    bool safeFlag = false; ///< may be made without asking
};

/// One mistake, as the protocol tells it.
struct NOD_ServerFinding
{
    enum Severity
    {
        ERROR = 1,
        WARNING = 2,
        INFORMATION = 3,
        HINT = 4
    };
    struct Related
    {
        std::string file; ///< "": the document
        std::size_t begin = 0;
        std::size_t end = 0;
        NOD_ServerPosition from; ///< in another file
        NOD_ServerPosition to;
        std::string text;
    };

    Severity severity = ERROR;
    std::string source; ///< "zel" or "zel lint"
    std::string code;
    std::string text;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::vector<Related> related;
    std::vector<NOD_ServerFix> fixes; ///< alternatives, the likeliest first
};

/// What is read of a script, and how it is judged.
struct NOD_ServerRules
{
    NOD_Interface::Includes includes = NOD_Interface::Includes::CONFINED;
    bool lintFlag = true;
};

class NOD_ServerPass : public NOD_ScriptServer::Pass
{
public:
    /// Larger documents aren't read.
    static constexpr std::size_t theMostBytes = std::size_t(1) << 24;
    /// Further ones are counted.
    static constexpr std::size_t theMostFindings = 1000;

    NOD_ServerPass(std::string uri, std::string path, std::shared_ptr<const NOD_ServerText> text,
                   const NOD_ServerRules &rules);

    void run() override;

    const std::string &getUri() const { return myUri; }
    const NOD_ServerText &getText() const { return *myText; }
    /// After run(), by place.
    const std::vector<NOD_ServerFinding> &getFindings() const { return myFindings; }
    /// Null for a script that can't be read.
    const std::shared_ptr<const NOD_Interface> &getInterface() const { return myInterface; }

private:
    void read();
    NOD_ServerFinding findingOf(const NOD_Message &message);
    void add(const NOD_LintFinding &finding);
    void addReplacement(NOD_ServerFinding &finding, const std::string &word) const;
    void tell(const std::string &text);
    void setPlace(NOD_ServerFinding &finding, const KIT_MessageDetail &detail);
    void addRelated(NOD_ServerFinding &finding, const KIT_MessagePlace &place,
                    const std::string &text) const;
    void setLine(NOD_ServerFinding &finding, std::size_t line);
    std::size_t lineBegin(std::size_t line) const;
    void cut();

    std::string myUri;
    std::string myPath;
    std::shared_ptr<const NOD_ServerText> myText;
    NOD_ServerRules myRules;
    std::vector<std::size_t> myFeeds; ///< where the lines of the reader begin
    std::vector<NOD_ServerFinding> myFindings;
    std::shared_ptr<const NOD_Interface> myInterface;
};
