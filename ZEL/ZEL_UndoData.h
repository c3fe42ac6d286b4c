/// \file ZEL_UndoData.h
/// What a parameter remembers of itself for undo, opaque to whoever keeps it.
///
/// Ownership:  held by `std::shared_ptr`; copying and assigning the base do nothing.
/// Threads:    one thread at a time.
#pragma once

#include <ZEL/ZEL_API.h>

#include <string>

class ZEL_API ZEL_UndoData
{
public:
    ZEL_UndoData() = default;
    ZEL_UndoData(const ZEL_UndoData &) {}
    ZEL_UndoData &operator=(const ZEL_UndoData &) { return *this; }
    virtual ~ZEL_UndoData();
};

/// The text form of one instance, as `ZEL_Instance::save` writes it.
class ZEL_API ZEL_InstanceUndoData : public ZEL_UndoData
{
public:
    explicit ZEL_InstanceUndoData(std::string bytes) : myBytes(std::move(bytes)) {}
    ~ZEL_InstanceUndoData() override;

    const char *data() const { return myBytes.data(); }
    std::size_t length() const { return myBytes.size(); }

private:
    std::string myBytes;
};
