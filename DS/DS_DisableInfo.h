/// \file DS_DisableInfo.h
/// One group of a `disablewhen`: parameters, each with the value it must have; a record of the
/// script writer.
///
/// Units:      indices from 0, in the order of addInfo().
/// Ownership:  owns copies of its texts.
/// Threads:    const calls from any thread.
/// Errors:     none. A null text is "".

#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

class ZEL_API DS_DisableInfo
{
public:
    DS_DisableInfo() = default;
    ~DS_DisableInfo();
    DS_DisableInfo(const DS_DisableInfo &) = delete;
    DS_DisableInfo &operator=(const DS_DisableInfo &) = delete;

    void addInfo(const char *name, const char *value);

    int entries() const { return static_cast<int>(myParmNames.entries()); }
    const KIT_ValArray<const char *> &getParmNames() const { return myParmNames; }
    const KIT_ValArray<const char *> &getValues() const { return myValues; }

private:
    KIT_ValArray<const char *> myParmNames;
    KIT_ValArray<const char *> myValues;
};
