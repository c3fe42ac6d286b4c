#include "Refusal.h"

#include <EVL/EVL.h>
#include <multi/MultiList.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// ---------------------------------------------------------------------- //
// Every way to the heap, for the thread that asks for refusals
// ---------------------------------------------------------------------- //

namespace
{

struct Allocations
{
    long left = -1; ///< those that succeed until the first refusal; negative: none is refused
    Refusal refusal = Refusal::ONE;
    bool refusedFlag = false;

    bool refuse()
    {
        if (left != 0) {
            left -= left > 0 ? 1 : 0;
            return false;
        }
        refusedFlag = true;
        left = refusal == Refusal::ONE ? -1 : 0;
        return true;
    }
};

thread_local Allocations theAllocations;

/// The code of the interpreter, whose own want of memory isn't what is tested here.
struct Interpreter
{
    std::uintptr_t begin = 0, end = 0;

    void find()
    {
        if (begin == 0) {
            dl_iterate_phdr(look, this);
        }
    }
    bool calls(const void *from) const { return std::uintptr_t(from) - begin < end - begin; }

private:
    static int look(dl_phdr_info *info, std::size_t, void *data)
    {
        Interpreter &self = *static_cast<Interpreter *>(data);
        for (int i = 0; std::strstr(info->dlpi_name, "libpython") && i < info->dlpi_phnum; ++i) {
            const auto &part = info->dlpi_phdr[i];
            if (part.p_type == PT_LOAD && (part.p_flags & PF_X)) {
                self.begin = info->dlpi_addr + part.p_vaddr;
                self.end = self.begin + part.p_memsz;
            }
        }
        return 0;
    }
};

Interpreter theInterpreter;

/// Asked with the address that an allocation returns to.
bool isRefused(const void *from)
{
    return theAllocations.left >= 0 && !theInterpreter.calls(from) && theAllocations.refuse();
}

} // namespace

#ifdef BAS_PLAIN_MALLOC
extern "C" void *__interceptor_malloc(std::size_t);
extern "C" void *__interceptor_calloc(std::size_t, std::size_t);
extern "C" void *__interceptor_realloc(void *, std::size_t);
#define REAL(function) __interceptor_##function

/// The leak sanitizer knows blocks of the dynamic linker by their caller, which is this malloc now.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions()
{
    return "leak:ld-linux\n";
}
#else
extern "C" void *__libc_malloc(std::size_t);
extern "C" void *__libc_calloc(std::size_t, std::size_t);
extern "C" void *__libc_realloc(void *, std::size_t);
#define REAL(function) __libc_##function

// Called by the libraries through the dynamic linker, which must see this one.
extern "C" __attribute__((visibility("default"))) void *scalable_malloc(std::size_t size)
{
    using Function = void *(*)(std::size_t);
    static const auto theReal = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "scalable_malloc"));
    return isRefused(__builtin_return_address(0)) ? nullptr : theReal(size);
}
#endif

extern "C" void *malloc(std::size_t size)
{
    return isRefused(__builtin_return_address(0)) ? nullptr : REAL(malloc)(size);
}
extern "C" void *calloc(std::size_t count, std::size_t size)
{
    return isRefused(__builtin_return_address(0)) ? nullptr : REAL(calloc)(count, size);
}
extern "C" void *realloc(void *memory, std::size_t size)
{
    return isRefused(__builtin_return_address(0)) ? nullptr : REAL(realloc)(memory, size);
}

// All forms: a sanitizer would serve the others. Not inlined: a call of the one with the other's body in
// its place looks like a mismatch to GCC.
[[gnu::noinline]] void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return malloc(size ? size : 1);
}
[[gnu::noinline]] void *operator new(std::size_t size)
{
    void *const memory = operator new(size, std::nothrow);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}
[[gnu::noinline]] void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return operator new(size, std::nothrow);
}
void *operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}
void operator delete(void *memory, const std::nothrow_t &) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory, std::size_t) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory, const std::nothrow_t &) noexcept
{
    operator delete(memory);
}

Refused runRefused(long n, Refusal refusal, const std::function<bool()> &work)
{
    const std::uint64_t lostBefore = BASfailedAllocations();
    bool done = false;
    takeMessages();
    theInterpreter.find();
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
    theAllocations = {n, refusal, false};
    try {
        done = work();
    } catch (const std::bad_alloc &) {
    }
    theAllocations.left = -1;
    const bool isLost = BASfailedAllocations() != lostBefore;
    const bool isTold = !takeMessages().empty() || EVL::theErrNo[BASgetSTID()] != EVL::EVL_OK;
    return {theAllocations.refusedFlag, !done || isLost || isTold, isLost};
}

// ---------------------------------------------------------------------- //
// Lists
// ---------------------------------------------------------------------- //

bool isNothingStuck()
{
    return !ZEL_ParmList::isLoading() && !ZEL_Parm::getIsAddingOrRemovingMultiParms();
}

std::string componentText(const ZEL_ParmList &list, int parmIndex, int index, Texts texts)
{
    const ZEL_Parm &parm = *list.getParmPtr(parmIndex);
    KIT_String value;
    parm.getValue(0.0, value, index, true, BASgetSTID());
    const bool isFound =
        list.getParmIndexFromChannel(parm.getChannelToken(index), nullptr) == parmIndex;
    const bool isPassed = texts == Texts::PASS_OVER && parm.getType().isStringType();
    return (isPassed ? "..." : value.toStdString()) + (isFound ? "" : "!");
}

std::string textOf(const ZEL_ParmList &list, Texts texts)
{
    std::string text;
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm &parm = *list.getParmPtr(i);
        const bool isFound = list.getParmIndex(parm.getTokenRef()) == i;
        text += std::string(parm.getTokenRef().nonNullStr()) + (isFound ? "" : "!");
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            text += (k > 0 ? "," : "=") + componentText(list, i, k, texts);
        }
        text += " ";
    }
    return text;
}

void useList(ZEL_ParmList &list)
{
    std::ostringstream text, binary;
    list.save(text, false, false);
    list.save(binary, true, true);
    ZEL_UndoDataArray data;
    list.saveUndoData(data);
    const int entries = list.getEntries();
    for (int i = 0; i < entries && i < list.getEntries(); ++i) {
        ZEL_Parm &parm = *list.getParmPtr(i);
        if (parm.isMultiParm()) {
            parm.setValue(0.0, parm.getMultiParmNumItems() + 2.0, false, 0, ZEL_ADDKEY_PENDING,
                          false);
        }
    }
    textOf(list, Texts::READ);
    list.loadUndoData(data, "used", nullptr);
    textOf(list, Texts::READ);
    const std::string saved = text.str();
    KIT_IStream is(saved.data(), saved.size(), KIT_IStream::TEXT);
    list.load(is, "used", nullptr);
    textOf(list, Texts::READ);
    list.revertToDefaults(0.0);
}

// ---------------------------------------------------------------------- //
// Each place in turn
// ---------------------------------------------------------------------- //

int refusalScale()
{
    static const int theScale = int(numberFromEnvironment("ZEL_REFUSE", 1));
    return theScale;
}

namespace
{

/// Places that are tried in one process; the first is cold.
constexpr long thePlacesOfAProcess = 8;
constexpr std::size_t theLongestText = 1 << 20;

/// Between the process that counts and those that try.
struct Shared
{
    long place;
    std::size_t lengths[2];
    char good[2][theLongestText];
    char why[theLongestText];
};

struct Counts
{
    long places, crashes, stuck, wrong;
};

#ifdef BAS_PLAIN_MALLOC
extern "C" int __lsan_do_recoverable_leak_check();
bool isAnythingLeaked()
{
    return __lsan_do_recoverable_leak_check() != 0;
}
#else
bool isAnythingLeaked()
{
    return false;
}
#endif

/// The exit code of a process that does this, or -1 if it crashed.
int inAProcess(const std::function<int()> &work)
{
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        int code = 255;
        try {
            code = work();
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        ::_exit(code);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) < 200 ? WEXITSTATUS(status) : -1;
}

constexpr int theFirstOutcome = 100;

int tryPlaces(const WorkType &work, Refusal refusal, long end, Shared &shared)
{
    const std::string good[2] = {std::string(shared.good[0], shared.lengths[0]),
                                 std::string(shared.good[1], shared.lengths[1])};
    for (; shared.place < end; ++shared.place) {
        std::string why;
        const Outcome outcome = work.tryPlace(shared.place, refusal, good, why);
        if (outcome != Outcome::GOOD) {
            shared.why[why.copy(shared.why, theLongestText - 1)] = 0;
            return theFirstOutcome + int(outcome);
        }
    }
    // A search takes as long as many places.
    if (isAnythingLeaked()) {
        --shared.place;
        std::strcpy(shared.why, "a leak, here or at one of the places before");
        return theFirstOutcome + int(Outcome::WRONG);
    }
    return theFirstOutcome;
}

Counts countPlaces(const WorkType &work, Refusal refusal, Shared &shared)
{
    Counts counts{};
    for (shared.place = 0;;) {
        const long end = shared.place + (refusal == Refusal::ONE ? 1 : thePlacesOfAProcess);
        const int code =
            inAProcess([&] { return tryPlaces(work, refusal, end, shared); }) - theFirstOutcome;
        if (code == int(Outcome::PAST_END)) {
            counts.places = shared.place;
            return counts;
        }
        if (code != int(Outcome::GOOD)) {
            const bool isStuck = code == int(Outcome::STUCK);
            const bool isWrong = code == int(Outcome::WRONG);
            counts.stuck += isStuck;
            counts.wrong += isWrong;
            counts.crashes += !isStuck && !isWrong;
            std::fprintf(stderr, "%s, %s %ld: %s %s\n", work.name,
                         refusal == Refusal::ONE ? "only" : "from", shared.place,
                         isStuck   ? "stuck"
                         : isWrong ? "wrong"
                                   : "crash",
                         isStuck || isWrong ? shared.why : "");
            ++shared.place;
        }
    }
}

void countEach(const WorkType &work)
{
    void *const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    Shared &shared = *static_cast<Shared *>(memory);
    const auto runWell = [&] {
        std::string good[2];
        work.runWell(good);
        for (int i = 0; i < 2; ++i) {
            shared.lengths[i] = good[i].copy(shared.good[i], theLongestText);
        }
        return 0;
    };
    ASSERT_EQ(inAProcess(runWell), 0);
    for (const Refusal refusal : {Refusal::ONE, Refusal::ALL_FROM}) {
        const Counts counts = countPlaces(work, refusal, shared);
        std::printf("%-22s %s %6ld places, %ld crashes, %ld stuck, %ld wrong\n", work.name,
                    refusal == Refusal::ONE ? "only the n-th" : "from the n-th", counts.places,
                    counts.crashes, counts.stuck, counts.wrong);
        EXPECT_EQ(counts.crashes + counts.stuck + counts.wrong, 0);
    }
    ::munmap(memory, sizeof(Shared));
}

} // namespace

void refuseEach(const WorkType &work)
{
    if (std::getenv("ZEL_REFUSE")) {
        countEach(work);
        return;
    }
    std::string good[2];
    work.runWell(good);
    for (const Refusal refusal : {Refusal::ONE, Refusal::ALL_FROM}) {
        Outcome outcome = Outcome::GOOD;
        for (long n = 0; outcome == Outcome::GOOD; ++n) {
            std::string why;
            outcome = work.tryPlace(n, refusal, good, why);
            EXPECT_TRUE(outcome == Outcome::GOOD || outcome == Outcome::PAST_END)
                << (refusal == Refusal::ONE ? "only " : "from ") << n << ": " << why;
        }
    }
}
