#include <common/ListFixture.h>
#include <common/OverrideProvider.h>
#include <common/Threads.h>

#include <ZEL/ZEL_AutoDisableOverride.h>

#include <gtest/gtest.h>

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

// Scopes, disable states, overrides and deaths in any order, on several threads, beside a model that
// holds what a thread has disabled by number instead of by address.

namespace
{
/// What one thread has disabled.
struct Disabled
{
    std::uint32_t mask = 0;
    int life = -1; // of the instance
};

constexpr int theMaxSize = 3;

/// A list of one parameter, and what is expected of it.
struct Subject
{
    Subject(const ZEL_Type &type, int size, int number)
        : one(type, size), life(number), dirty((1u << size) - 1)
    {
        one.build();
        isData = one.instance->getType().isDataType();
    }

    OneParm one;
    int life;
    bool isData = false;
    bool hasRecords = false;
    std::array<int, theMaxSize> data{-1, -1, -1};
    std::uint32_t dirty;
};

struct OpenScope
{
    OpenScope(ZEL_Parm *parm, int component, int of, Disabled state)
        : index(component), life(of), saved(state),
          guard(std::make_unique<ZEL_AutoDisableOverride>(parm, component))
    {}

    int index;
    int life;
    Disabled saved;
    std::unique_ptr<ZEL_AutoDisableOverride> guard;
};

struct Worker
{
    Disabled disabled;
    std::vector<OpenScope> scopes;
};

class Program
{
public:
    Program(unsigned seed, int workers) : myRandom(seed), myWorkers(std::size_t(workers))
    {
        for (auto &subject : mySubjects) {
            renew(subject);
        }
    }

    /// The workers take turns, each a few steps on a thread of its own.
    void run(long steps)
    {
        const long rounds = steps / theBurst;
        std::mutex mutex;
        std::condition_variable changed;
        long round = 0;
        const long workers = long(myWorkers.size());
        onThreads(int(workers), [&](int w) {
            std::unique_lock<std::mutex> lock(mutex);
            // One round more each, in which the scopes end.
            for (long turn = w; turn < rounds + workers; turn += workers) {
                changed.wait(lock, [&] { return round == turn; });
                const bool last = turn + workers >= rounds + workers;
                burst(myWorkers[std::size_t(w)], last);
                ++round;
                changed.notify_all();
            }
        });
    }

    std::string fault; // of the first step that differs from the model

private:
    static constexpr int theBurst = 64;

    int pick(int count) { return int(myRandom() % unsigned(count)); }

    void renew(std::unique_ptr<Subject> &subject)
    {
        const ZEL_Type *const types[] = {&ZEL_FLT, &ZEL_INT, &ZEL_STRING, &ZEL_DATA};
        subject.reset();
        subject = std::make_unique<Subject>(*types[pick(4)], 1 + pick(theMaxSize), myLives++);
    }
    Subject *alive(int life)
    {
        for (auto &subject : mySubjects) {
            if (subject->life == life) {
                return subject.get();
            }
        }
        return nullptr;
    }

    void burst(Worker &worker, bool last)
    {
        for (int i = 0; i < theBurst && fault.empty(); ++i) {
            step(worker);
        }
        while (last && !worker.scopes.empty()) {
            close(worker);
        }
    }

    void step(Worker &worker)
    {
        auto &chosen = mySubjects[std::size_t(pick(int(mySubjects.size())))];
        Subject &s = *chosen;
        ZEL_Instance &instance = *s.one.instance;
        const int index = pick(instance.getVectorSize());
        const int kind = pick(20);
        switch (kind) {
        case 0:
        case 1: {
            const int data = pick(3) - 1;
            instance.setOverride(index, data, nullptr, ZEL_OVERRIDE_OVERRIDDEN);
            if (!s.isData) {
                s.hasRecords = true;
                s.dirty |= s.data[std::size_t(index)] != data ? 1u << index : 0;
                s.data[std::size_t(index)] = data;
            }
            break;
        }
        case 2:
        case 3:
        case 4: disable(worker, s, index, pick(2)); break;
        case 5:
        case 6:
        case 7:
            if (worker.scopes.size() < 8) {
                const Disabled saved = worker.disabled;
                expectDisabled(worker, s, index, 1);
                worker.scopes.emplace_back(s.one.parm, index, s.life, saved);
            }
            break;
        case 8:
        case 9:
        case 10:
            if (!worker.scopes.empty()) {
                close(worker);
            }
            break;
        case 11: adoptOverrides(s, *mySubjects[std::size_t(pick(int(mySubjects.size())))]); break;
        case 12: renew(chosen); break;
        case 13:
            instance.clearAllDirtyFlags();
            s.dirty = 0;
            break;
        default: check(worker, s, index); return;
        }
        check(worker, *chosen, pick(chosen->one.instance->getVectorSize()));
    }

    /// Returns whether it was disabled before.
    bool expectDisabled(Worker &worker, Subject &s, int index, int disable)
    {
        if (s.isData || !s.hasRecords) {
            return false;
        }
        Disabled &state = worker.disabled;
        const std::uint32_t bit = 1u << index;
        const bool before = state.life == s.life && (state.mask & bit) != 0;
        state.life = s.life;
        state.mask = disable ? state.mask | bit : state.mask & ~bit;
        s.dirty |= bit;
        return before;
    }
    void disable(Worker &worker, Subject &s, int index, int disable)
    {
        const bool expected = expectDisabled(worker, s, index, disable);
        if (s.one.instance->setOverrideDisable(index, disable) != expected) {
            fault = "what was disabled before";
        }
    }

    void close(Worker &worker)
    {
        const OpenScope &scope = worker.scopes.back();
        worker.disabled = scope.saved;
        if (Subject *own = alive(scope.life)) {
            own->dirty |= 1u << scope.index;
        }
        if (Subject *outer = alive(scope.saved.life)) {
            outer->dirty |=
                scope.saved.mask & ((1u << unsigned(outer->one.instance->getVectorSize())) - 1);
        }
        worker.scopes.pop_back();
        for (const auto &subject : mySubjects) {
            checkDirty(*subject);
        }
    }

    void adoptOverrides(Subject &to, Subject &from)
    {
        to.one.instance->adoptOverrides(*from.one.instance);
        if (to.isData || &to == &from) {
            return;
        }
        to.hasRecords = from.hasRecords;
        const int size =
            std::min(to.one.instance->getVectorSize(), from.one.instance->getVectorSize());
        for (int i = 0; i < theMaxSize; ++i) {
            to.data[std::size_t(i)] = i < size ? from.data[std::size_t(i)] : -1;
        }
    }

    void check(const Worker &worker, const Subject &s, int index)
    {
        const Disabled &state = worker.disabled;
        const int data = s.data[std::size_t(index)];
        const bool counts = s.hasRecords && data >= 0 &&
                            !(state.life == s.life && (state.mask & (1u << index)) != 0);
        if (s.one.eval(index) != (counts ? 100.0 * (1 + data) : 0.0)) {
            fault = "value";
        } else if (s.one.instance->isDataDependent(0.0, index) != counts) {
            fault = "dependence";
        }
        checkDirty(s);
    }
    void checkDirty(const Subject &s)
    {
        for (int i = 0; i < s.one.instance->getVectorSize(); ++i) {
            if (s.one.instance->isDirty(i) != ((s.dirty & (1u << i)) != 0)) {
                fault = "dirty flags";
            }
        }
    }

    std::mt19937 myRandom;
    std::vector<Worker> myWorkers;
    std::array<std::unique_ptr<Subject>, 6> mySubjects;
    int myLives = 0;
};

/// The steps of a random program; more for a long run by hand.
long stepsOfARun()
{
    const char *text = std::getenv("ZEL_TEST_STEPS");
    return text ? std::atol(text) : 20000;
}
} // namespace

TEST(OverrideScopes, NamesNothingThatIsGone)
{
    OverrideProvider provider(100.0);
    // Programs run at once on threads of their own: what they share is the process's.
    std::array<std::string, 3> faults;
    onThreads(int(faults.size()), [&faults](int seed) {
        // The last has threads beyond those with a record inline.
        Program program(unsigned(seed), seed == 2 ? 40 : 3);
        program.run(stepsOfARun() / long(faults.size()));
        faults[std::size_t(seed)] = program.fault;
    });
    for (const std::string &fault : faults) {
        EXPECT_EQ(fault, "");
    }
}

TEST(OverrideScopes, NothingIsLeftToTheNextAtThatAddressOrOnThatThread)
{
    OverrideProvider provider(100.0);
    BuiltParm p(ZEL_FLT, 1);
    alignas(ZEL_Float) unsigned char place[sizeof(ZEL_Float)];
    const auto make = [&](bool overridden) {
        auto *made = ::new (place) ZEL_Float(&p.templates[0], p.parm);
        if (overridden) {
            made->setOverride(0, 0, "layer", ZEL_OVERRIDE_OVERRIDDEN);
        }
        return made;
    };
    const auto evalNext = [&] {
        ZEL_Float *next = make(true);
        double value = 0.0;
        next->getValue(nullptr, 0.0, value, 0, 1);
        next->~ZEL_Float();
        return value;
    };

    // Without any scope.
    ZEL_Float *first = make(true);
    first->setOverrideDisable(0, 1);
    first->~ZEL_Float();
    EXPECT_EQ(evalNext(), 100.0);

    // Restored by a scope after its overrides were dropped.
    p.instance->setOverride(0, 0, "layer", ZEL_OVERRIDE_OVERRIDDEN);
    BuiltParm plain(ZEL_FLT, 1);
    first = make(true);
    first->setOverrideDisable(0, 1);
    {
        ZEL_AutoDisableOverride scope(p.parm, 0);
        first->adoptOverrides(*plain.instance);
    }
    first->~ZEL_Float();
    EXPECT_EQ(evalNext(), 100.0);

    // On a thread that has the id of one that ended.
    std::thread([&] { p.instance->setOverrideDisable(0, 1); }).join();
    double value = 0.0;
    std::thread([&] { value = p.eval(); }).join();
    EXPECT_EQ(value, 100.0);
}
