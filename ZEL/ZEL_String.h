/// \file ZEL_String.h
/// The instance of every parameter whose basic type is string.
///
/// At present it makes the right kind of instance and holds no values: see
/// ZEL_ValuelessInstance.h for how it behaves.
#pragma once

#include <ZEL/ZEL_Overridable.h>
#include <ZEL/ZEL_ValuelessInstance.h>

class ZEL_API ZEL_String : public ZEL_ValuelessInstance<ZEL_Overridable>
{
public:
    ZEL_String(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_String() override;

    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

    /// Whether expansion could change the text: it holds the old direct reference, or a dollar
    /// sign or backtick that no backslash precedes.
    static bool isStringThatCanExpand(const char *text);

protected:
    ZEL_String(const ZEL_String &source, ZEL_Parm *parm);

    int classId() const override;
    const char *saveLabel() const override;
};
