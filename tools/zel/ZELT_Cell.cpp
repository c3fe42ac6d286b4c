#include "ZELT_Cell.h"

#include "ZELT_Format.h"

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Parm.h>

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

std::string ZELTcellText(const ZELT_Cell &cell)
{
    return cell.index() == 1   ? ZELTnumber(std::get<1>(cell))
           : cell.index() == 2 ? std::to_string(std::get<2>(cell))
           : cell.index() == 3 ? ZELTquote(std::get<3>(cell))
                               : "-";
}

ZELT_Json ZELTcellJson(const ZELT_Cell &cell)
{
    return cell.index() == 1   ? ZELT_Json(std::get<1>(cell))
           : cell.index() == 2 ? ZELT_Json(std::get<2>(cell))
           : cell.index() == 3 ? ZELT_Json(std::get<3>(cell))
                               : ZELT_Json();
}
