#include <ZEL/ZEL_UndoData.h>

// Out of line, so that each class has one table and one type record: `dynamic_cast` tells them
// apart across shared libraries.
ZEL_UndoData::~ZEL_UndoData() = default;

ZEL_InstanceUndoData::~ZEL_InstanceUndoData() = default;
