#include <ZEL/ZEL_ParmOwner.h>

#include <KIT/KIT_WorkBuffer.h>

ZEL_ParmOwnerContext::~ZEL_ParmOwnerContext() = default;

ZEL_ParmOwner::~ZEL_ParmOwner() = default;

// ---------------------------------------------------------------------- //
// Base forms of the virtual operations
// ---------------------------------------------------------------------- //

GRF_Node *ZEL_ParmOwner::castToGRFNode()
{
    return nullptr;
}

const GRF_Node *ZEL_ParmOwner::castToGRFNode() const
{
    return nullptr;
}

bool ZEL_ParmOwner::createSpareParametersForLoad(KIT_StringArray &, ZEL_ParmNameMap &, KIT_String &)
{
    return true;
}

bool ZEL_ParmOwner::isParmPendingOverride(const char *, int) const
{
    return myPendingOverrideFlag;
}

KIT_ErrorSeverity ZEL_ParmOwner::zelCookOverrides(double, int, const char *, int)
{
    return KIT_ERROR_NONE;
}

KIT_StringHolder ZEL_ParmOwner::evaluateDisableExpression(const ZEL_Parm &, const KIT_StringRef &)
{
    return KIT_StringHolder();
}

std::int64_t ZEL_ParmOwner::getMemoryUsage(bool inclusive) const
{
    const std::int64_t own = inclusive ? std::int64_t(sizeof(*this)) : 0;
    return own + myPendingOverride.getMemoryUsage(false);
}

// ---------------------------------------------------------------------- //
// Path and pending override
// ---------------------------------------------------------------------- //

void ZEL_ParmOwner::getFullPath(KIT_String &path) const
{
    KIT_WorkBuffer buffer;
    path.harden(getFullPath(buffer));
}

KIT_StringHolder ZEL_ParmOwner::getFullPath() const
{
    KIT_WorkBuffer buffer;
    return KIT_StringHolder(getFullPath(buffer));
}

void ZEL_ParmOwner::setPendingOverrideString(const char *text)
{
    myPendingOverrideFlag = text && *text;
    if (myPendingOverrideFlag) {
        myPendingOverride.harden(text);
    } else {
        myPendingOverride.clear();
    }
}
