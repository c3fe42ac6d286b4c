#include <ZEL/ZEL_BatchParm.h>

#include <KIT/KIT_String.h>

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <iterator>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace
{

struct TypeWord
{
    ZEL_BatchType type;
    const char *word;
};
constexpr TypeWord theTypeWords[] = {
    {ZEL_BATCH_INT, "        int"},
    {ZEL_BATCH_REAL, "       real"},
    {ZEL_BATCH_STRING, "     string"},
    {ZEL_BATCH_RAWSTRING, "  rawstring"},
};

const char *typeWord(ZEL_BatchType type)
{
    const auto *const found = std::find_if(std::begin(theTypeWords), std::end(theTypeWords),
                                           [&](const TypeWord &row) { return row.type == type; });
    return found != std::end(theTypeWords) ? found->word : "  TYPEERROR";
}

void assign(int &slot, int value)
{
    slot = value;
}
void assign(int &slot, std::int64_t value)
{
    slot = int(std::uint32_t(std::uint64_t(value)));
}
void assign(double &slot, double value)
{
    slot = value;
}
void assign(KIT_String &slot, const char *value)
{
    slot.harden(value ? value : "");
}

} // namespace

// ---------------------------------------------------------------------- //
// The array
// ---------------------------------------------------------------------- //

template <class T>
const T *ZEL_BatchParm::slots() const
{
    if constexpr (!std::is_same_v<T, KIT_String>) {
        if (const auto *const few = std::get_if<std::array<T, theInlineSize>>(&myValues)) {
            return few->data();
        }
    }
    const auto *const many = std::get_if<std::unique_ptr<T[]>>(&myValues);
    return many ? many->get() : nullptr;
}

template <class T>
T *ZEL_BatchParm::slots()
{
    return const_cast<T *>(std::as_const(*this).template slots<T>());
}

template <class T>
const T *ZEL_BatchParm::slotAt(int index) const
{
    const T *const all = slots<T>();
    return all && index >= 0 && index < myVectorSize ? all + index : nullptr;
}

/// Zeros in the object while they fit, else on the heap; false if memory is refused.
template <class T>
bool ZEL_BatchParm::makeNumbers(int size)
{
    if (size <= theInlineSize) {
        myValues = std::array<T, theInlineSize>{};
    } else {
        myValues = std::unique_ptr<T[]>(new (std::nothrow) T[std::size_t(size)]());
    }
    return slots<T>() != nullptr;
}

void ZEL_BatchParm::freeValues()
{
    myValues = std::monostate();
    myVectorSize = 0;
}

ZEL_BatchParm::ZEL_BatchParm() = default;

ZEL_BatchParm::ZEL_BatchParm(const ZEL_BatchParm &other)
{
    *this = other;
}

ZEL_BatchParm &ZEL_BatchParm::operator=(const ZEL_BatchParm &other)
{
    if (this == &other) {
        return *this;
    }
    // init() rejects a size without slots.
    if (!init(other.myName, other.myType, other.myVectorSize, other.myUserData)) {
        freeValues();
        myName = other.myName;
        myUserData = other.myUserData;
        myType = other.myType;
        if (other.myVectorSize > 0) {
            throw std::bad_alloc();
        }
    }
    if (const int *const from = other.slots<int>()) {
        std::copy_n(from, myVectorSize, slots<int>());
    } else if (const double *const reals = other.slots<double>()) {
        std::copy_n(reals, myVectorSize, slots<double>());
    } else if (KIT_String *const texts = slots<KIT_String>()) {
        for (int i = 0; i < myVectorSize; ++i) {
            assign(texts[i], other.getString(i));
        }
    }
    myEvaluatingOp = other.myEvaluatingOp;
    myEvaluatingParmIndex = other.myEvaluatingParmIndex;
    myEvaluated = other.myEvaluated;
    myValueSet = other.myValueSet;
    return *this;
}

ZEL_BatchParm::~ZEL_BatchParm() = default;

bool ZEL_BatchParm::init(const char *name, ZEL_BatchType type, int size, void *userData)
{
    if (size < 1) {
        return false;
    }
    freeValues();
    myName = name;
    myUserData = userData;
    myType = type;
    myEvaluatingOp = -1;
    myEvaluatingParmIndex = -1;
    myEvaluated = false;
    myValueSet = false;
    bool madeFlag = true;
    switch (type) {
    case ZEL_BATCH_INT: madeFlag = makeNumbers<int>(size); break;
    case ZEL_BATCH_REAL: madeFlag = makeNumbers<double>(size); break;
    case ZEL_BATCH_STRING:
    case ZEL_BATCH_RAWSTRING:
        myValues = std::unique_ptr<KIT_String[]>(new (std::nothrow) KIT_String[std::size_t(size)]);
        madeFlag = slots<KIT_String>() != nullptr;
        break;
    }
    myVectorSize = madeFlag ? size : 0;
    return madeFlag;
}

// ---------------------------------------------------------------------- //
// Slots
// ---------------------------------------------------------------------- //

template <class T, class From>
bool ZEL_BatchParm::fill(const From *values)
{
    T *const to = slots<T>();
    if (!to || !values) {
        return false;
    }
    for (int i = 0; i < myVectorSize; ++i) {
        assign(to[i], values[i]);
    }
    myValueSet = true;
    return true;
}

bool ZEL_BatchParm::setValue(const int *values)
{
    return fill<int>(values);
}

bool ZEL_BatchParm::setValue(const std::int64_t *values)
{
    return fill<int>(values);
}

bool ZEL_BatchParm::setValue(const float *values)
{
    return fill<double>(values);
}

bool ZEL_BatchParm::setValue(const double *values)
{
    return fill<double>(values);
}

bool ZEL_BatchParm::setValue(const char *const *values)
{
    return fill<KIT_String>(values);
}

int ZEL_BatchParm::getInt(int index) const
{
    const int *const slot = slotAt<int>(index);
    return slot ? *slot : 0;
}

double ZEL_BatchParm::getReal(int index) const
{
    const double *const slot = slotAt<double>(index);
    return slot ? *slot : 0.0;
}

const char *ZEL_BatchParm::getString(int index) const
{
    const KIT_String *const slot = slotAt<KIT_String>(index);
    return slot ? slot->nonNullStr() : "";
}

void ZEL_BatchParm::dump() const
{
    fmt::memory_buffer line;
    auto out = std::back_inserter(line);
    fmt::format_to(out, "{} \"{}\"[{}]{}\t= [", typeWord(myType), myName ? myName : "",
                   myVectorSize, myValueSet ? "+" : " ");
    const char *separator = "";
    for (int i = 0; myEvaluated && i < myVectorSize; ++i) {
        if (slotAt<KIT_String>(i)) {
            fmt::format_to(out, "{}\"{}\"", separator, getString(i));
        } else if (slotAt<int>(i)) {
            fmt::format_to(out, "{}{}", separator, getInt(i));
        } else if (slotAt<double>(i)) {
            fmt::format_to(out, "{}{:.17g}", separator, getReal(i));
        }
        separator = ", ";
    }
    constexpr std::string_view theEnd = "]\n";
    constexpr std::string_view theNotEvaluated = "not evaluated]\n";
    line.append(myEvaluated ? theEnd : theNotEvaluated);
    std::fwrite(line.data(), 1, line.size(), stderr);
}
