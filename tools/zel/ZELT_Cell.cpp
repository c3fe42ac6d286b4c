#include "ZELT_Cell.h"

#include "ZELT_Format.h"

#include <EVL/EVL.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Parm.h>

ZELT_EvaluationErrors::ZELT_EvaluationErrors(int thread) : myMessages(thread)
{
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

ZELT_EvaluationErrors::~ZELT_EvaluationErrors()
{
    EVL::theErrNo[myMessages.getThread()] = EVL::EVL_OK;
    myMessages.getOuterManager().stealErrors(myMessages.getManager());
}

int ZELT_EvaluationErrors::find()
{
    const int number = EVL::theErrNo[myMessages.getThread()];
    const KIT_ErrorManager &manager = myMessages.getManager();
    for (std::int64_t i = 0; number == EVL::EVL_OK && i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        if (entry.category == "TRK") {
            return entry.code;
        }
    }
    return number;
}

ZELT_Cell ZELTevaluate(const ZEL_Parm &parm, int index, double time, int thread)
{
    const ZEL_Type &type = parm.getType();
    if (type.isFloatType()) {
        double value = 0.0;
        parm.getValue(time, value, index, thread);
        return value;
    }
    if (type.isOrdinalType()) {
        std::int64_t value = 0;
        parm.getValue(time, value, index, thread);
        return value;
    }
    constexpr bool expand = true;
    KIT_String text;
    parm.getValue(time, text, index, expand, thread);
    return text.toStdString();
}

std::string ZELTcellText(const ZELT_Cell &cell, bool failed)
{
    const std::string text = cell.index() == 1   ? ZELTnumber(std::get<1>(cell))
                             : cell.index() == 2 ? std::to_string(std::get<2>(cell))
                             : cell.index() == 3 ? ZELTquote(std::get<3>(cell))
                                                 : "-";
    return failed ? text + '!' : text;
}

const std::string *ZELTwordOf(const std::vector<std::string> &words, const ZELT_Cell &cell)
{
    const auto *const number = std::get_if<std::int64_t>(&cell);
    return number && *number >= 0 && std::uint64_t(*number) < words.size()
               ? &words[std::size_t(*number)]
               : nullptr;
}

std::string ZELTwordText(const std::vector<std::string> &words, const ZELT_Cell &cell, bool failed)
{
    const std::string *const word = ZELTwordOf(words, cell);
    return word ? *word + (failed ? "!" : "") : ZELTcellText(cell, failed);
}

ZELT_Json ZELTcellJson(const ZELT_Cell &cell)
{
    return cell.index() == 1   ? ZELT_Json(std::get<1>(cell))
           : cell.index() == 2 ? ZELT_Json(std::get<2>(cell))
           : cell.index() == 3 ? ZELT_Json(std::get<3>(cell))
                               : ZELT_Json();
}
