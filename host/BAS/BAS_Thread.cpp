#include <BAS/BAS_Thread.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <new>
#include <vector>

#include <pthread.h>

__thread int theBASThreadId __attribute__((tls_model("initial-exec"))) = 0;

namespace
{
/// The ids that are free, and the hook that gives a thread's id back. A thread-specific key is used
/// and not a thread_local object: its destructor runs after those, so that they may still ask.
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

    /// Threads that end later keep their ids: the code of the hook may be gone by then.
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
        // Room for every id is made here, so that giving one back can't fail.
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

    std::mutex myMutex;
    std::vector<int> myFree;
    int myHighest = 0;
    pthread_key_t myKey{};
    bool myKeyFlag = false;
};

/// Never destroyed: threads may outlive the statics.
Registry &registry()
{
    static Registry *const theRegistry = new Registry;
    return *theRegistry;
}

void Registry::threadEnded(void *value)
{
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

int BASregisterThread()
{
    if (theBASThreadId == 0) {
        theBASThreadId = registry().take();
    }
    return theBASThreadId;
}
