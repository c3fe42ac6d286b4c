#include <NOD/NOD_FileLoss.h>

#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <ZEL/ZEL_ParmStream.h>

#include <algorithm>

namespace
{

bool isNote(const std::string &comment)
{
    const std::string mark = std::string("# ") + theNODConflictMark;
    return comment.compare(0, mark.size(), mark) == 0;
}

} // namespace

std::vector<NOD_FileLoss> NODcommentLosses(const ZEL_ParmStream &stream, const std::string &file)
{
    std::vector<NOD_FileLoss> losses;
    for (const bool noteFlag : {false, true}) {
        const auto &all = stream.getComments();
        const auto first = std::find_if(all.begin(), all.end(), [&](const std::string &comment) {
            return isNote(comment) == noteFlag;
        });
        if (first != all.end()) {
            losses.push_back({file, *first});
        }
    }
    return losses;
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
