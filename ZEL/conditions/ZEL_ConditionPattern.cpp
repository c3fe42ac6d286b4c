#include <ZEL/conditions/ZEL_ConditionPatternPrivate.h>

#include <KIT/KIT_Error.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <mutex>
#include <utility>

namespace
{

std::mutex theCompiling;
std::atomic<std::int64_t> theTotalBytes{0};

} // namespace

ZEL_ConditionPattern::ZEL_ConditionPattern(const char *text,
                                           std::shared_ptr<const ZEL_ConditionPattern> block)
    : myText(text), myBlock(std::move(block))
{}

ZEL_ConditionPattern::~ZEL_ConditionPattern()
{
    theTotalBytes.fetch_sub(myCharge, std::memory_order_relaxed);
    delete myRegex.load(std::memory_order_relaxed);
}

/// Null if nothing could be compiled: no memory, now or for all.
const KIT_Regex *ZEL_ConditionPattern::compile() const
{
    const std::lock_guard<std::mutex> guard(theCompiling);
    if (const KIT_Regex *const made = myRegex.load(std::memory_order_acquire)) {
        return made;
    }
    const bool fullFlag = theTotalBytes.load(std::memory_order_relaxed) >= theMaxTotalBytes;
    if (fullFlag && myBlock) {
        reportTooLarge();
        return nullptr;
    }
    const std::size_t maxBytes = fullFlag || myBlock ? theSmallBytes : theMaxBytes;
    auto regex = std::make_unique<KIT_Regex>(myText.nonNullStr(), maxBytes);
    if (!regex->isValid() && regex->getErrorText().isEmpty()) {
        return nullptr; // memory was refused; the next one tries again
    }
    if (regex->isTooLarge()) {
        reportTooLarge();
    }
    // To find one too large costs what it was allowed.
    myCharge = regex->isTooLarge() ? std::int64_t(maxBytes) : regex->getMemoryUsage();
    theTotalBytes.fetch_add(myCharge, std::memory_order_relaxed);
    const KIT_Regex *const made = regex.release();
    myRegex.store(made, std::memory_order_release);
    return made;
}

void ZEL_ConditionPattern::reportTooLarge() const
{
    const ZEL_ConditionPattern &told = myBlock ? *myBlock : *this;
    if (!told.myReportedFlag.exchange(true, std::memory_order_relaxed)) {
        KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_PATTERN_TOO_LARGE, told.myText.nonNullStr());
    }
}
