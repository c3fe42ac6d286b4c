/// \file NOD_SampleRowsPrivate.h
/// Rows of numbers at many times, filled on all cores.
///
/// Threads:    starts workers of oneTBB in the caller's arena.
#pragma once

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Sampler.h>
#include <TRK/TRK_EvalContext.h>

#include <algorithm>
#include <mutex>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

/// `read(column, time, thread)` is each number. What is around the rows of a worker's share comes from
/// `around(rows)`. Returns what failed.
template <class Read, class Around>
NOD_SampleFault NODsampleRows(const double *times, std::size_t count, std::size_t width,
                              double *rows, const Read &read, const Around &around)
{
    // As many numbers as are worth a worker's start.
    constexpr std::size_t theShare = 1024;
    const std::size_t share = std::max<std::size_t>(theShare / std::max<std::size_t>(width, 1), 1);
    const auto sampleSome = [&](std::size_t first, std::size_t end) {
        const int thread = BASgetSTID();
        KIT_ErrorManager::Scope errors(thread);
        const EVL::ErrorScope numbers(thread, EVL::ErrorScope::CLEARED);
        int &number = EVL::theErrNo[thread];
        NOD_SampleFault fault;
        double *out = rows + first * width;
        for (std::size_t row = first; row < end; ++row) {
            const TRK_EvalContext::Scope context(thread, times[row]);
            for (std::size_t column = 0; column < width; ++column, ++out) {
                *out = read(column, times[row], thread);
                if (number != EVL::EVL_OK || errors.getManager().entries() > 0) {
                    fault = fault.count == 0 ? NOD_SampleFault{0, row, column, number} : fault;
                    ++fault.count;
                    number = EVL::EVL_OK;
                    errors.getManager().clearAndDestroyErrors();
                }
            }
        }
        return fault;
    };
    std::mutex mutex;
    NOD_SampleFault fault;
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, share),
                      [&](const tbb::blocked_range<std::size_t> &range) {
                          const auto work = [&] {
                              const NOD_SampleFault found = sampleSome(range.begin(), range.end());
                              if (found.count > 0) {
                                  const std::lock_guard<std::mutex> lock(mutex);
                                  const std::int64_t all = fault.count + found.count;
                                  fault = fault.count == 0 || found.row < fault.row ? found : fault;
                                  fault.count = all;
                              }
                          };
                          around(work);
                      });
    return fault;
}
