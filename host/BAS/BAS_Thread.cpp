#include <BAS/BAS_Thread.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <mutex>
#include <new>
#include <vector>

#include <pthread.h>

__thread int theBASThreadId __attribute__((tls_model("initial-exec"))) = 0;

namespace
{
/// The free ids, and the hook that frees the id of a thread that ends. It uses a thread-specific
/// key instead of a thread_local object: the key's destructor runs after those of thread_local
/// objects, so that they can still ask for the id.
class Registry
{
public:
    Registry() { myKeyFlag = pthread_key_create(&myKey, &Registry::threadEnded) == 0; }

    int take()
    {
        int id;
        {
            const std::lock_guard<std::mutex> guard(myMutex);
            id = takeLowest();
        }
        if (myKeyFlag) {
            pthread_setspecific(myKey, reinterpret_cast<void *>(static_cast<intptr_t>(id)));
        }
        return id;
    }

    void addEnd(void (*function)())
    {
        const std::lock_guard<std::mutex> guard(myMutex);
        const auto free = std::find(std::begin(myEnds), std::end(myEnds), nullptr);
        if (free == std::end(myEnds)) {
            std::abort(); // a fault of the build: the statics of a library are known
        }
        *free = function;
    }

    void removeEnd(void (*function)())
    {
        const std::lock_guard<std::mutex> guard(myMutex);
        std::replace(std::begin(myEnds), std::end(myEnds), function, End(nullptr));
    }

    /// Threads that end later keep their ids: the code of the hook may be unloaded by then.
    void dropKey()
    {
        if (myKeyFlag) {
            pthread_key_delete(myKey);
        }
    }

private:
    int takeLowest()
    {
        if (!myFree.empty()) {
            std::pop_heap(myFree.begin(), myFree.end(), std::greater<int>());
            const int id = myFree.back();
            myFree.pop_back();
            return id;
        }
        // Reserve for every id here, so that freeing one can't fail.
        const int id = ++myHighest;
        try {
            if (myFree.capacity() < static_cast<size_t>(id)) {
                myFree.reserve(static_cast<size_t>(id) * 2 + 32);
            }
        } catch (const std::bad_alloc &) {
        }
        return id;
    }

    void give(int id)
    {
        const std::lock_guard<std::mutex> guard(myMutex);
        if (myFree.size() < myFree.capacity()) {
            myFree.push_back(id);
            std::push_heap(myFree.begin(), myFree.end(), std::greater<int>());
        }
    }

    static void threadEnded(void *value);

    using End = void (*)();
    static constexpr int theMostEnds = 8;

    void callEnds()
    {
        End ends[theMostEnds];
        {
            const std::lock_guard<std::mutex> guard(myMutex);
            std::copy(std::begin(myEnds), std::end(myEnds), ends);
        }
        for (const End end : ends) {
            if (end) {
                end();
            }
        }
    }

    std::mutex myMutex;
    std::vector<int> myFree;
    int myHighest = 0;
    pthread_key_t myKey{};
    bool myKeyFlag = false;
    End myEnds[theMostEnds] = {};
};

/// Never destroyed: threads may outlive the statics.
Registry &registry()
{
    static Registry *const theRegistry = new Registry;
    return *theRegistry;
}

void Registry::threadEnded(void *value)
{
    registry().callEnds();
    theBASThreadId = 0;
    registry().give(static_cast<int>(reinterpret_cast<intptr_t>(value)));
}

/// The loading thread takes the first id.
const int theLoadingThread = BASgetSTID();

__attribute__((destructor)) void unload()
{
    registry().dropKey();
}
} // namespace

BAS_ThreadEnd::BAS_ThreadEnd(void (*function)()) : myFunction(function)
{
    registry().addEnd(function);
}

BAS_ThreadEnd::~BAS_ThreadEnd()
{
    registry().removeEnd(myFunction);
}

int BASregisterThread()
{
    if (theBASThreadId == 0) {
        theBASThreadId = registry().take();
    }
    return theBASThreadId;
}
