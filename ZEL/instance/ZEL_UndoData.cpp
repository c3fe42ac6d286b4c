#include <ZEL/ZEL_UndoData.h>

// Out of line, so that each class has exactly one vtable and type record: `dynamic_cast` then works
// across shared libraries.
ZEL_UndoData::~ZEL_UndoData() = default;

ZEL_InstanceUndoData::~ZEL_InstanceUndoData() = default;

std::int64_t ZEL_UndoData::getMemoryUsage() const
{
    return std::int64_t(sizeof(*this));
}

std::int64_t ZEL_InstanceUndoData::getMemoryUsage() const
{
    return std::int64_t(sizeof(*this) + myBytes.capacity());
}
