#include <ZEL/ZEL_BatchParm.h>

#include <KIT/KIT_String.h>

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <iterator>
#include <new>
#include <string_view>

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

/// Zeros in the object while they fit, else on the heap; null without memory.
template <class T, int N>
void *makeNumbers(T (&inlineValues)[N], int size)
{
    if (size > N) {
        return new (std::nothrow) T[std::size_t(size)]();
    }
    std::fill_n(inlineValues, N, T());
    return inlineValues;
}

} // namespace

ZEL_BatchParm::ZEL_BatchParm(const ZEL_BatchParm &other)
{
    *this = other;
}

ZEL_BatchParm &ZEL_BatchParm::operator=(const ZEL_BatchParm &other)
{
    if (this == &other) {
        return *this;
    }
    // One without slots can't be made by init.
    if (!init(other.myName, other.myType, other.myVectorSize, other.myUserData)) {
        freeValues();
        myName = other.myName;
        myUserData = other.myUserData;
        myType = other.myType;
    }
    if (myValue && isTextType()) {
        for (int i = 0; i < myVectorSize; ++i) {
            assign(texts()[i], other.getString(i));
        }
    } else if (myValue && myType == ZEL_BATCH_INT) {
        std::copy_n(other.ints(), myVectorSize, ints());
    } else if (myValue) {
        std::copy_n(other.reals(), myVectorSize, reals());
    }
    myEvaluatingOp = other.myEvaluatingOp;
    myEvaluatingParmIndex = other.myEvaluatingParmIndex;
    myEvaluated = other.myEvaluated;
    myValueSet = other.myValueSet;
    return *this;
}

ZEL_BatchParm::~ZEL_BatchParm()
{
    freeValues();
}

void ZEL_BatchParm::freeValues()
{
    if (isTextType()) {
        delete[] texts();
    } else if (myValue != &myInline && myType == ZEL_BATCH_INT) {
        delete[] ints();
    } else if (myValue != &myInline) {
        delete[] reals();
    }
    myValue = nullptr;
    myVectorSize = 0;
}

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
    switch (type) {
    case ZEL_BATCH_INT: myValue = makeNumbers(myInline.ints, size); break;
    case ZEL_BATCH_REAL: myValue = makeNumbers(myInline.reals, size); break;
    case ZEL_BATCH_STRING:
    case ZEL_BATCH_RAWSTRING: myValue = new (std::nothrow) KIT_String[std::size_t(size)]; break;
    default: myVectorSize = size; return true;
    }
    myVectorSize = myValue ? size : 0;
    return myValue != nullptr;
}

// ---------------------------------------------------------------------- //
// Slots
// ---------------------------------------------------------------------- //

template <class T, class From>
bool ZEL_BatchParm::fill(T *slots, const From *values)
{
    if (!slots || !values) {
        return false;
    }
    for (int i = 0; i < myVectorSize; ++i) {
        assign(slots[i], values[i]);
    }
    myValueSet = true;
    return true;
}

bool ZEL_BatchParm::setValue(const int *values)
{
    return myType == ZEL_BATCH_INT && fill(ints(), values);
}

bool ZEL_BatchParm::setValue(const std::int64_t *values)
{
    return myType == ZEL_BATCH_INT && fill(ints(), values);
}

bool ZEL_BatchParm::setValue(const float *values)
{
    return myType == ZEL_BATCH_REAL && fill(reals(), values);
}

bool ZEL_BatchParm::setValue(const double *values)
{
    return myType == ZEL_BATCH_REAL && fill(reals(), values);
}

bool ZEL_BatchParm::setValue(const char *const *values)
{
    return isTextType() && fill(texts(), values);
}

int ZEL_BatchParm::getInt(int index) const
{
    return myType == ZEL_BATCH_INT && validIndex(index) ? ints()[index] : 0;
}

double ZEL_BatchParm::getReal(int index) const
{
    return myType == ZEL_BATCH_REAL && validIndex(index) ? reals()[index] : 0.0;
}

const char *ZEL_BatchParm::getString(int index) const
{
    return isTextType() && validIndex(index) ? texts()[index].nonNullStr() : "";
}

void ZEL_BatchParm::dump() const
{
    fmt::memory_buffer line;
    auto out = std::back_inserter(line);
    fmt::format_to(out, "{} \"{}\"[{}]{}\t= [", typeWord(myType), myName ? myName : "",
                   myVectorSize, myValueSet ? "+" : " ");
    for (int i = 0; myEvaluated && validIndex(i); ++i) {
        const char *const separator = i > 0 ? ", " : "";
        if (isTextType()) {
            fmt::format_to(out, "{}\"{}\"", separator, getString(i));
        } else if (myType == ZEL_BATCH_INT) {
            fmt::format_to(out, "{}{}", separator, getInt(i));
        } else {
            fmt::format_to(out, "{}{:.17g}", separator, getReal(i));
        }
    }
    constexpr std::string_view theEnd = "]\n";
    constexpr std::string_view theNotEvaluated = "not evaluated]\n";
    line.append(myEvaluated ? theEnd : theNotEvaluated);
    std::fwrite(line.data(), 1, line.size(), stderr);
}
