#include <ZEL/ZEL_InputBudget.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

thread_local ZEL_InputBudget::State ZEL_InputBudget::theState;

namespace
{

constexpr std::int64_t theMegabyte = std::int64_t(1) << 20;
/// Enough for anything, and far from what could overflow.
constexpr std::int64_t theUnlimited = std::numeric_limits<std::int64_t>::max() / 2;

std::int64_t settingItems()
{
    return KIT_EnvControl::getLimit(KIT_ENV_MAX_STREAM_ITEMS);
}

std::int64_t settingBytes()
{
    return KIT_EnvControl::getLimit(KIT_ENV_MAX_STREAM_MEGABYTES) * theMegabyte;
}

/// What was refused while errors are blocked, as they are when a value is set: for the end of the
/// budget's scope.
struct Refusal
{
    int code;
    std::string text;
};

__thread Refusal *theRefusal = nullptr; // null while there is none

const BAS_ThreadEnd theRefusalEnd([] {
    delete theRefusal;
    theRefusal = nullptr;
});

bool isBlocked()
{
    return (KITgetErrorManager().getFlags() & KIT_ErrorManager::theDiscardFlag) != 0;
}

void report(int code, const KIT_WorkBuffer &text)
{
    if (!isBlocked()) {
        KITaddError(ZEL_ERROR_CATEGORY, code, text.buffer());
    } else if (!theRefusal) {
        BASgetSTID(); // a thread without an id isn't known to end
        theRefusal = new Refusal{code, text.buffer()};
    }
}

void reportItems(const ZEL_InputBudget::Request &request, std::int64_t allowed)
{
    KIT_WorkBuffer text;
    text.append(request.token);
    text.append(": ");
    text.appendNumber(request.items);
    text.append(" more, ");
    text.append(KIT_EnvControl::getVariable(KIT_ENV_MAX_STREAM_ITEMS));
    text.append(" leaves ");
    text.appendNumber(allowed);
    report(ZEL_ERR_TOO_MANY_ITEMS, text);
}

void reportBytes(const ZEL_InputBudget::Request &request, std::int64_t allowed)
{
    KIT_WorkBuffer text;
    text.append(request.token);
    text.append(": ");
    text.appendNumber((request.bytes + theMegabyte - 1) / theMegabyte);
    text.append(" MB more, ");
    text.append(KIT_EnvControl::getVariable(KIT_ENV_MAX_STREAM_MEGABYTES));
    text.append(" leaves ");
    text.appendNumber(allowed / theMegabyte);
    report(ZEL_ERR_TOO_MANY_BYTES, text);
}

} // namespace

ZEL_InputBudget::ZEL_InputBudget(Kind kind, std::int64_t inputBytes)
    : myOuter(theState), myKind(kind),
      myOwnFlag(!theState.open ||
                (theState.unlimited ? kind == INPUT || kind == RESTORED : kind == NO_LIMIT))
{
    if (myOwnFlag) {
        theState = State();
        theState.open = true;
        theState.unlimited = kind == NO_LIMIT;
        theState.items = theState.unlimited ? theUnlimited : settingItems();
        theState.bytes = theState.unlimited ? theUnlimited : settingBytes();
        theState.restoredItems = settingItems();
        theState.restoredBytes = settingBytes();
        if (isInRestored()) {
            theState.items = myOuter.restoredItems;
            theState.bytes = myOuter.restoredBytes;
            theState.reported = myOuter.reported;
        }
    }
    if (kind == INPUT) {
        ++theState.inputs;
    }
    const std::int64_t share = std::clamp<std::int64_t>(
        inputBytes, 0, std::numeric_limits<std::int64_t>::max() / (4 * theBytesPerByte));
    theState.items = std::min(theState.items + share, theUnlimited);
    theState.bytes = std::min(theState.bytes + share * theBytesPerByte, theUnlimited);
}

ZEL_InputBudget::~ZEL_InputBudget()
{
    if (theRefusal && (myOwnFlag || !isBlocked())) {
        const std::unique_ptr<Refusal> refusal(std::exchange(theRefusal, nullptr));
        try {
            KITaddError(ZEL_ERROR_CATEGORY, refusal->code, refusal->text.c_str());
        } catch (const std::bad_alloc &) {
            // The count that stays is what the caller sees.
        }
    }
    if (myOwnFlag) {
        if (isInRestored()) {
            myOuter.restoredItems = theState.items;
            myOuter.restoredBytes = theState.bytes;
            myOuter.reported = theState.reported;
        }
        theState = myOuter;
    } else if (myKind == INPUT) {
        --theState.inputs;
    }
}

/// Whether this one holds defaults of what is being restored.
bool ZEL_InputBudget::isInRestored() const
{
    return myKind == RESTORED && myOuter.unlimited;
}

bool ZEL_InputBudget::isInInput()
{
    return theState.inputs > 0;
}

void ZEL_InputBudget::beginDefault()
{
    if (theState.open && !theState.unlimited && !isInInput()) {
        theState.reported = false;
        theState.items = settingItems();
    }
}

bool ZEL_InputBudget::allowBytes(std::int64_t bytes)
{
    if (bytes > (theState.open ? theState.bytes : settingBytes())) {
        return false;
    }
    if (theState.open && !theState.unlimited) {
        theState.bytes -= bytes;
    }
    return true;
}

bool ZEL_InputBudget::allow(const Request &request)
{
    const std::int64_t items = theState.open ? theState.items : settingItems();
    const std::int64_t bytes = theState.open ? theState.bytes : settingBytes();
    const bool tooMany = request.items > items;
    if (tooMany || request.bytes > bytes) {
        if (!theState.open || isInInput() || !theState.reported) {
            tooMany ? reportItems(request, items) : reportBytes(request, bytes);
        }
        theState.reported = true;
        return false;
    }
    if (theState.open && !theState.unlimited) {
        theState.items -= std::max<std::int64_t>(request.items, 0);
    }
    return allowBytes(std::max<std::int64_t>(request.bytes, 0));
}
