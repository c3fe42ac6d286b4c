#include <ZEL/ZEL_Name.h>

#include <KIT/KIT_Format.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/support/ZEL_InstanceMarksPrivate.h>

namespace
{

constexpr bool theFillToken = true;
constexpr bool theKeepToken = false;
constexpr bool theNoRepeat = false;

} // namespace

void ZEL_Name::getToken(KIT_String &token) const
{
    token = myToken;
}

void ZEL_Name::getLabel(KIT_String &label) const
{
    label = getLabelRef();
}

void ZEL_Name::setAsSeparator()
{
    myToken = KIT_StringRef("_separator_");
    myLabel = myToken;
    myExpressionFlag = 0;
}

// -------------------------------------------------------------------- //
// Instances
// -------------------------------------------------------------------- //

void ZEL_Name::instance(const int *indices, int count)
{
    KIT_WorkBuffer text;
    if (!myToken.isNull()) {
        ZELinstanceString(text, myToken, indices, count, theFillToken, theNoRepeat);
        myToken = KIT_StringHolder(text.buffer(), text.length());
    }
    if (ZELcountMarks(myLabel.view()) == 0) {
        myLabel.harden();
    } else {
        ZELinstanceString(text, myLabel, indices, count, theKeepToken, theNoRepeat);
        myLabel = KIT_StringHolder(text.buffer(), text.length());
    }
}

void ZEL_Name::instance(const KIT_ValArray<int> &indices)
{
    instance(indices.data(), static_cast<int>(indices.size()));
}

void ZEL_Name::instanceToken(KIT_String &out, const KIT_StringRef &token, const int *indices,
                             int count)
{
    ZELinstanceString(out, token, indices, count, theFillToken, theNoRepeat);
}

void ZEL_Name::instanceToken(KIT_String &out, const KIT_StringRef &token,
                             const KIT_ValArray<int> &indices)
{
    ZELinstanceString(out, token, indices, theFillToken, theNoRepeat);
}

void ZEL_Name::instanceToken(KIT_WorkBuffer &out, const KIT_StringRef &token, const int *indices,
                             int count)
{
    ZELinstanceString(out, token, indices, count, theFillToken, theNoRepeat);
}

void ZEL_Name::instanceToken(KIT_WorkBuffer &out, const KIT_StringRef &token,
                             const KIT_ValArray<int> &indices)
{
    ZELinstanceString(out, token, indices, theFillToken, theNoRepeat);
}

int64_t ZEL_Name::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0) + myToken.getMemoryUsage(false) +
           myLabel.getMemoryUsage(false);
}

size_t format(char *buffer, size_t size, const ZEL_Name &name)
{
    return KITformat(buffer, size, "[{0}, {1}, {2}]", name.getTokenRef(), name.getLabelRef(),
                     name.getExpressionFlag());
}
