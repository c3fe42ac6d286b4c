#include <NOD/NOD_Sampler.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Report.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

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
    // As many numbers as are worth a worker's start.
    constexpr std::size_t theShare = 1024;
    const std::size_t share =
        std::max<std::size_t>(theShare / std::max<std::size_t>(getWidth(), 1), 1);
    std::mutex mutex;
    fault = NOD_SampleFault();
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, share),
                      [&](const tbb::blocked_range<std::size_t> &range) {
                          const auto work = [&] {
                              const NOD_SampleFault found =
                                  sampleRows(times, range.begin(), range.end(), rows);
                              if (found.count > 0) {
                                  const std::lock_guard<std::mutex> lock(mutex);
                                  const std::int64_t all = fault.count + found.count;
                                  fault = fault.count == 0 || found.row < fault.row ? found : fault;
                                  fault.count = all;
                              }
                          };
                          around ? around(work) : work();
                      });
}

NOD_SampleFault NOD_Sampler::sampleRows(const double *times, std::size_t first, std::size_t end,
                                        double *rows) const
{
    const int thread = BASgetSTID();
    KIT_ErrorManager::Scope errors(thread);
    const EVL::ErrorScope numbers(thread, EVL::ErrorScope::CLEARED);
    int &number = EVL::theErrNo[thread];
    NOD_SampleFault fault;
    double *out = rows + first * getWidth();
    for (std::size_t row = first; row < end; ++row) {
        const TRK_EvalContext::Scope context(thread, times[row]);
        for (std::size_t column = 0; column < getWidth(); ++column, ++out) {
            *out = 0.0;
            myColumns[column].parm->getValue(times[row], *out, myColumns[column].index, thread);
            if (number != EVL::EVL_OK || errors.getManager().entries() > 0) {
                fault = fault.count == 0 ? NOD_SampleFault{0, row, column, number} : fault;
                ++fault.count;
                number = EVL::EVL_OK;
                errors.getManager().clearAndDestroyErrors();
            }
        }
    }
    return fault;
}
