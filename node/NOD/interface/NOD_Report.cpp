#include <NOD/NOD_Report.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>

#include <algorithm>
#include <utility>

std::string NOD_Message::asText() const
{
    std::string out = file;
    if (line > 0) {
        out += "(" + std::to_string(line) + ")";
    }
    out += out.empty() ? "" : ": ";
    out += subject.empty() ? "" : subject + ": ";
    return out + (severity == KIT_ERROR_WARNING ? "warning: " : "") + text;
}

void NOD_Report::add(NOD_Message message)
{
    const bool scriptFlag =
        message.category == theKITCommonCategory && message.code == KIT_COMMON_BAD_SCRIPT;
    if (message.category.empty() || scriptFlag) {
        if (const KIT_MessageEntry *const own =
                KITfindTextMessage(message.text, scriptFlag ? theKITScriptCategory : "")) {
            message.category = own->category;
            message.code = own->code;
        }
    }
    myErrors += message.severity >= KIT_ERROR_ABORT;
    myMessages.push_back(std::move(message));
}

void NOD_Report::error(const std::string &subject, const std::string &text)
{
    add({KIT_ERROR_ABORT, {}, 0, subject, text, {}, 0});
}

void NOD_Report::warning(const std::string &subject, const std::string &text)
{
    add({KIT_ERROR_WARNING, {}, 0, subject, text, {}, 0});
}

void NOD_Report::take(KIT_ErrorManager &manager, const std::string &file,
                      const std::string &subject)
{
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        // A script reader's text is already a sentence with its position.
        const bool placedFlag =
            entry.category == theKITCommonCategory && entry.code == KIT_COMMON_BAD_SCRIPT;
        if (entry.detail && entry.detail->followsFlag && !myMessages.empty()) {
            if (entry.detail->endsFlag) {
                addEnd(*entry.detail);
            }
            continue;
        }
        add({entry.severity, file, 0, subject,
             placedFlag ? entry.text
                        : KITformatMessage(entry.category.c_str(), entry.code, entry.text.c_str()),
             entry.category, entry.code, entry.detail});
    }
    manager.clearAndDestroyErrors();
}

/// Says in the last error where reading ended because of it.
void NOD_Report::addEnd(const KIT_MessageDetail &end)
{
    const auto last =
        std::find_if(myMessages.rbegin(), myMessages.rend(), [](const NOD_Message &message) {
            return message.severity >= KIT_ERROR_ABORT && message.detail;
        });
    if (last != myMessages.rend()) {
        auto detail = std::make_shared<KIT_MessageDetail>(*last->detail);
        detail->related.push_back({end.place, "from here on nothing is read"});
        last->detail = std::move(detail);
    }
}

void NOD_Report::append(const NOD_Report &other)
{
    myMessages.insert(myMessages.end(), other.myMessages.begin(), other.myMessages.end());
    myErrors += other.myErrors;
    myLossFlag = myLossFlag || other.myLossFlag;
}

std::string NOD_Report::asText() const
{
    std::string out;
    for (const NOD_Message &message : myMessages) {
        out += message.asText() + "\n";
    }
    return out;
}

NOD_ReportScope::NOD_ReportScope(NOD_Report &report, std::string file, std::string subject)
    : myReport(report), myFile(std::move(file)), mySubject(std::move(subject)),
      myErrors(BASgetSTID())
{
    myErrors.setFlags(myErrors.getFlags() | KIT_ErrorManager::theDetailsFlag);
}

NOD_ReportScope::~NOD_ReportScope()
{
    myReport.take(myErrors.getManager(), myFile, mySubject);
}
