/// \file Refusal.h
/// Pieces of work that are run once for each of their allocations, with that one refused.
///
/// Vocabulary: *work*  = a class that makes its objects when it is constructed; `run()` does what is tested
///                       and returns false if it reported a failure, `text(Texts)` shows what came of it.
///                       What has a member `list` is also saved, grown and destroyed.
///             *place* = one allocation of a work.
///             *cold*  = in a process where no work has run, so that what a process keeps is made, too.
///
/// With ZEL_REFUSE=N in the environment works are N times as large, each place is tried in a process of its
/// own, and what came of all is counted and printed (scripts/refuse.sh).
#pragma once

#include <BAS/BAS_Allocate.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_ErrorManager.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <common/ListFixture.h>

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

enum class Refusal
{
    ONE,     ///< a single allocation
    ALL_FROM ///< and all after it
};

enum class Texts
{
    READ,
    PASS_OVER ///< a text that got no memory is empty: the count of refusals shows it
};

struct Refused
{
    bool refused;  ///< there was an n-th allocation
    bool reported; ///< by an exception, a message, the count of lost texts, or the work's result
    bool lost;     ///< the count of lost texts has grown
};

/// Runs it with the n-th allocation refused.
Refused runRefused(long n, Refusal refusal, const std::function<bool()> &work);

enum class Outcome
{
    GOOD,
    PAST_END, ///< the work has no such place
    STUCK,    ///< what is done afterwards fails
    WRONG     ///< something was lost without a report, or a second try differs
};

/// What can be done with a work, without its type.
struct WorkType
{
    const char *name;
    std::function<void(std::string (&good)[2])> runWell;
    std::function<Outcome(long n, Refusal, const std::string (&good)[2], std::string &why)>
        tryPlace;
};

/// Runs `work(n)` for each n until it says that no allocation was refused.
template <class Work>
void untilNoneIsRefused(const Work &work)
{
    long n = 0;
    while (work(n)) {
        ++n;
    }
}

/// How large works are: 1 in the tests.
int refusalScale();
/// Every place of the work, both ways.
void refuseEach(const WorkType &work);
/// Neither loading nor adding nor removing items.
bool isNothingStuck();
/// Saves the list in both forms and as a snapshot, lets each block grow, and reads it.
void useList(ZEL_ParmList &list);

/// "before" a component's text is read; "!" after what isn't found by its name.
std::string componentText(const ZEL_ParmList &list, int parmIndex, int index, Texts texts);
/// The list in its order; "!" after a name that doesn't find its parameter.
std::string textOf(const ZEL_ParmList &list, Texts texts);

/// Has the reader parse a script; `more` are arguments behind the stream.
template <class Reader, class... More>
bool parseScript(Reader &reader, const std::string &script, const More &...more)
{
    KIT_IStream memory(script.data(), script.size(), KIT_IStream::TEXT);
    DS_Stream stream(memory, "refused", true);
    return reader.parse(stream, more...) != 0;
}

template <class Work>
auto useWork(Work &work, int) -> decltype(useList(*work.list))
{
    if (work.list) {
        useList(*work.list);
    }
}
template <class Work>
void useWork(Work &, long)
{}

template <class Work>
Outcome tryPlace(long n, Refusal refusal, const std::string (&good)[2], std::string &why)
{
    {
        Work work;
        const Refused result = runRefused(n, refusal, [&] { return work.run(); });
        if (!isNothingStuck()) {
            why = "a mark stays";
            return Outcome::STUCK;
        }
        if (!result.refused) {
            return Outcome::PAST_END;
        }
        const std::string halfway = work.text(Texts::READ);
        if (!result.reported && halfway != good[int(Texts::READ)]) {
            why = "lost without a report: " + halfway;
            return Outcome::WRONG;
        }
        work.run();
        const Texts texts = result.lost ? Texts::PASS_OVER : Texts::READ;
        const std::string again = work.text(texts);
        if (again != good[int(texts)]) {
            why = again + "\ninstead of " + good[int(texts)] + "\nafter " + halfway;
            return Outcome::WRONG;
        }
        takeMessages();
    }
    {
        Work work;
        runRefused(n, refusal, [&] { return work.run(); });
        useWork(work, 0);
        takeMessages();
    }
    // Anything left half made in what the process keeps shows in the next work of its kind.
    Work next;
    next.run();
    why = next.text(Texts::READ);
    takeMessages();
    return why == good[int(Texts::READ)] ? Outcome::GOOD : Outcome::WRONG;
}

template <class Work>
WorkType workType(const char *name)
{
    return {name,
            [](std::string(&good)[2]) {
                for (const Texts texts : {Texts::READ, Texts::PASS_OVER}) {
                    Work work;
                    EXPECT_TRUE(work.run());
                    good[int(texts)] = work.text(texts);
                    EXPECT_TRUE(work.run());
                    EXPECT_EQ(work.text(texts), good[int(texts)]) << "a second run must show";
                }
            },
            tryPlace<Work>};
}

#define REFUSE_EACH(Work)                                                                          \
    TEST(RefusedMemory, Work)                                                                      \
    {                                                                                              \
        refuseEach(workType<Work>(#Work));                                                         \
    }
