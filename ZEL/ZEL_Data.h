/// \file ZEL_Data.h
/// The instance of every parameter whose basic type is data.
///
/// At present it makes the right kind of instance and holds no values: see
/// ZEL_ValuelessInstance.h for how it behaves.
#pragma once

#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_ValuelessInstance.h>

class ZEL_API ZEL_Data : public ZEL_ValuelessInstance<ZEL_Instance>
{
public:
    ZEL_Data(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Data() override;

    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

protected:
    ZEL_Data(const ZEL_Data &source, ZEL_Parm *parm);

    int classId() const override;
    const char *saveLabel() const override;
};
