#include <NOD/NOD_Sampler.h>

#include <NOD/NOD_Address.h>
#include <NOD/NOD_Report.h>
#include <NOD/text/NOD_SampleRowsPrivate.h>
#include <ZEL/ZEL_Parm.h>

bool NOD_Sampler::add(const NOD_Place &place, NOD_Report &report)
{
    const ZEL_Parm *const parm = place.find();
    const ZEL_Type &type = parm ? parm->getType() : ZEL_LIST_TERMINATOR;
    if (!type.isFloatType() && !type.isOrdinalType()) {
        report.error(place.token.c_str(), parm ? "has no numbers" : "is gone");
        return false;
    }
    for (int k = place.first; k < place.end && k < parm->getVectorSize(); ++k) {
        myColumns.push_back({parm, k});
    }
    return true;
}

void NOD_Sampler::sample(const double *times, std::size_t count, double *rows,
                         NOD_SampleFault &fault, const Around &around) const
{
    const auto read = [&](std::size_t column, double time, int thread) {
        double value = 0.0;
        myColumns[column].parm->getValue(time, value, myColumns[column].index, thread);
        return value;
    };
    fault = NODsampleRows(times, count, getWidth(), rows, read,
                          [&](const auto &work) { around ? around(work) : work(); });
}
