/// \file NOD_Report.h
/// What an operation of the node layer has to say: every message of it, with its place.
///
/// Vocabulary: *place* = file and line, or the parameter or node that a message is about.
/// Units:      lines from 1; 0 is none.
/// Threads:    one thread at a time.
/// Errors:     operations that take a report add to it and go on where they can; hasErrors() says
///             whether something was not done.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>

#include <memory>
#include <string>
#include <vector>

struct KIT_MessageDetail;

/// One message. Texts are empty where unknown.
struct NOD_API NOD_Message
{
    KIT_ErrorSeverity severity = KIT_ERROR_ABORT;
    std::string file;
    int line = 0;
    std::string subject; ///< a node's path, a parameter's token, or both: "/obj/light/tx"
    std::string text;
    std::string category; ///< "ZEL", "TRK" ... of the libraries below, "DS" of scripts, "NOD"
    int code = 0;         ///< its number in there
    std::shared_ptr<const KIT_MessageDetail> detail = {}; ///< where the mistake is; may be null

    /// `file(line): subject: text`, with "warning: " in front of the text if it is no error.
    std::string asText() const;
};

class NOD_API NOD_Report
{
public:
    /// A message without a code, and one of a script, gets that of its text in the catalogue.
    void add(NOD_Message message);
    /// `subject` may be empty.
    void error(const std::string &subject, const std::string &text);
    void warning(const std::string &subject, const std::string &text);
    /// Moves what a manager holds to the end, but for what an earlier mistake led to; `file` and `subject` are given
    /// to those without a place.
    void take(KIT_ErrorManager &manager, const std::string &file, const std::string &subject);
    /// Appends another report's messages.
    void append(const NOD_Report &other);
    void clear() { *this = NOD_Report(); }

    const std::vector<NOD_Message> &getMessages() const { return myMessages; }
    bool isEmpty() const { return myMessages.empty(); }
    bool hasErrors() const { return myErrors != 0; }
    int getErrorCount() const { return myErrors; }
    /// Whether a value that was set is lost or changed by what was done, which warnings tell.
    bool hasLoss() const { return myLossFlag; }
    void noteLoss() { myLossFlag = true; }
    /// A line for each message.
    std::string asText() const;

private:
    void addEnd(const KIT_MessageDetail &end);

    std::vector<NOD_Message> myMessages;
    int myErrors = 0;
    bool myLossFlag = false;
};

/// Collects what the libraries below report on the calling thread while it lives, with details, and moves
/// it to the report at its end. What was reported before stays with the thread's own manager.
class NOD_API NOD_ReportScope
{
public:
    /// Borrows the report. The file and subject are those of NOD_Report::take.
    explicit NOD_ReportScope(NOD_Report &report, std::string file = {}, std::string subject = {});
    ~NOD_ReportScope();
    NOD_ReportScope(const NOD_ReportScope &) = delete;
    NOD_ReportScope &operator=(const NOD_ReportScope &) = delete;

private:
    NOD_Report &myReport;
    std::string myFile;
    std::string mySubject;
    KIT_ErrorManager::Scope myErrors;
};
