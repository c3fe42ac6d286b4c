#include <KIT/KIT_Regex.h>

#include <re2/re2.h>

#include <atomic>
#include <new>

static std::atomic<std::int64_t> theCompileCount{0};

struct KIT_Regex::Compiled
{
    Compiled(const char *pattern, std::size_t maxBytes) : expression(pattern, getOptions(maxBytes))
    {}

    static RE2::Options getOptions(std::size_t maxBytes)
    {
        RE2::Options options;
        options.set_log_errors(false);
        options.set_max_mem(std::int64_t(maxBytes));
        return options;
    }

    RE2 expression;
};

KIT_Regex::KIT_Regex(const char *pattern, std::size_t maxBytes)
{
    theCompileCount.fetch_add(1, std::memory_order_relaxed);
    try {
        myCompiled = std::make_unique<Compiled>(pattern ? pattern : "", maxBytes);
        if (!myCompiled->expression.ok()) {
            myTooLargeFlag = myCompiled->expression.error_code() == RE2::ErrorPatternTooLarge;
            myErrorText = KIT_StringHolder(myCompiled->expression.error());
            myCompiled.reset();
        }
    } catch (const std::bad_alloc &) {
        myCompiled.reset();
    }
}

KIT_Regex::~KIT_Regex() = default;
KIT_Regex::KIT_Regex(KIT_Regex &&) noexcept = default;
KIT_Regex &KIT_Regex::operator=(KIT_Regex &&) noexcept = default;

bool KIT_Regex::isValid() const
{
    return myCompiled != nullptr;
}

std::int64_t KIT_Regex::getMemoryUsage() const
{
    constexpr std::int64_t fixedBytes = 1024, instructionBytes = 16;
    return myCompiled ? fixedBytes + instructionBytes * myCompiled->expression.ProgramSize() : 0;
}

std::int64_t KIT_Regex::getCompileCount()
{
    return theCompileCount.load(std::memory_order_relaxed);
}

bool KIT_Regex::match(const char *text) const
{
    return myCompiled && RE2::FullMatch(text ? text : "", myCompiled->expression);
}
