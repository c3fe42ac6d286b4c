/// \file ZEL_Ordinal.h
/// The instance of every parameter whose basic type is ordinal: toggles, menus, buttons, folders.
///
/// At present it makes the right kind of instance and holds no values: see
/// ZEL_ValuelessInstance.h for how it behaves.
#pragma once

#include <ZEL/ZEL_Overridable.h>
#include <ZEL/ZEL_ValuelessInstance.h>

class ZEL_API ZEL_Ordinal : public ZEL_ValuelessInstance<ZEL_Overridable>
{
public:
    ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Ordinal() override;

    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

protected:
    ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm);

    int classId() const override;
    const char *saveLabel() const override;
};
