// Reading values allocates nothing. Every way to the heap is counted in this process: the standard
// operators and malloc, and the small-object pool, whose large blocks come from the system.

#include <common/ListFixture.h>

#include <BAS/BAS_Thread.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <new>

namespace
{

thread_local long theAllocations = 0;

} // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers count for themselves: without interposition the test can only be skipped.
#define ZEL_COUNTS_ALLOCATIONS 0
#else
#define ZEL_COUNTS_ALLOCATIONS 1

extern "C" void *__libc_malloc(std::size_t);
extern "C" void *malloc(std::size_t size)
{
    ++theAllocations;
    return __libc_malloc(size);
}

void *operator new(std::size_t size)
{
    void *memory = malloc(size ? size : 1);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

// The pool's entry point, called by the library through the dynamic linker, which must see this one.
extern "C" __attribute__((visibility("default"))) void *scalable_malloc(std::size_t size)
{
    using Function = void *(*)(std::size_t);
    static const auto theReal = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "scalable_malloc"));
    ++theAllocations;
    return theReal(size);
}
#endif

TEST(Allocations, NoneOnAnyRead)
{
    if (!ZEL_COUNTS_ALLOCATIONS) {
        GTEST_SKIP() << "allocations aren't counted under a sanitizer";
    }
    OneParm p(ZEL_XYZ, 3, "t");
    p.build();
    p.instance->addChannel(1);
    p.set(4.0, 1, 2.0, ZEL_ADDKEY_FORCE);
    p.animate("ch(\"tx\") + ch(\"ty\") * $F", 2);
    const int thread = BASgetSTID();
    double value = 0.0;
    std::int64_t whole = 0;
    int small = 0;
    double all[3];
    float narrow[3];
    const auto readEverything = [&](double time) {
        for (int i = 0; i < 3; ++i) {
            p.list->evalFloat("t", i, time);
            p.list->evalInt("t", i, time);
            p.parm->getValue(time, value, i, thread);
            p.parm->getValue(time, whole, i, thread);
            p.parm->getValue(time, small, i, thread);
            p.instance->isTimeDependent(i);
            p.instance->getChanState(time, i);
        }
        p.parm->getValues(time, all, thread);
        p.parm->getValues(time, narrow, thread);
        p.list->getParmIndexFromChannel("tz", &small);
    };
    readEverything(0.0); // compiles the expression
    long before = theAllocations;
    delete new ZEL_Parm(static_cast<ZEL_Template *>(nullptr), nullptr);
    EXPECT_GT(theAllocations, before) << "the counter counts the pool";
    before = theAllocations;
    std::string(100, 'x');
    EXPECT_GT(theAllocations, before) << "the counter counts the heap";
    before = theAllocations;
    for (int frame = 0; frame < 100; ++frame) {
        readEverything(frame / 24.0);
    }
    EXPECT_EQ(theAllocations, before);
}

TEST(Allocations, OneForEachArrayOfGraphNodes)
{
    if (!ZEL_COUNTS_ALLOCATIONS) {
        GTEST_SKIP() << "allocations aren't counted under a sanitizer";
    }
    OneParm p(ZEL_XYZ, 3, "t");
    p.build();
    const long before = theAllocations;
    EXPECT_FALSE(p.parm->hasMicroNodes());
    EXPECT_EQ(theAllocations, before);
    for (int i = 0; i < 3; ++i) {
        p.list->parmMicroNode(0, i);
        EXPECT_EQ(theAllocations, before + 2) << "the instance's rare record, too";
    }
    for (int i = 0; i < 3; ++i) {
        p.list->constParmMicroNode(0, i);
        EXPECT_EQ(theAllocations, before + 3);
    }
}

TEST(Allocations, StaticNamesCopyNothing)
{
    if (!ZEL_COUNTS_ALLOCATIONS) {
        GTEST_SKIP() << "allocations aren't counted under a sanitizer";
    }
    const long before = theAllocations;
    ZEL_Name name("a_rather_long_token_that_no_small_buffer_holds",
                  "A Rather Long Label That No Small Buffer Holds");
    EXPECT_STREQ(name.getToken(), "a_rather_long_token_that_no_small_buffer_holds");
    EXPECT_EQ(theAllocations, before);
}
