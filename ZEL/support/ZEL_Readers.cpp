#include <ZEL/support/ZEL_ReadersPrivate.h>

#include <thread>

ZEL_Readers::Slot ZEL_Readers::theSlots[theCount];
alignas(64) std::atomic<int> ZEL_Readers::theHighest{0};

void ZEL_Readers::waitFor(const void *object)
{
    const int end = theHighest.load();
    for (int i = 0; i < end; ++i) {
        for (int turns = 0; theSlots[i].held.load() == object; ++turns) {
            if (turns > 64) {
                std::this_thread::yield();
            }
        }
    }
}
