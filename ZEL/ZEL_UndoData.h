/// \file ZEL_UndoData.h
/// A parameter's saved state for undo, opaque to the code that keeps it.
///
/// Vocabulary: *snapshot* = the undo data of some parameters under their tokens, in list order.
/// Ownership:  held by `std::shared_ptr`; copying and assigning the base do nothing. The data owns
///             its contents and may outlive the list that it was taken from.
/// Threads:    taken and restored on the thread that owns the list; immutable in between.
///
/// A snapshot holds a parameter's saved text, and restoring loads that text. So it has locks,
/// values and the names of channels, but not the channels themselves, nor aliases, overrides, or
/// whether a parameter is enabled and visible. A flag, label or colour that a parameter got later
/// stays, as the text doesn't mention it.
///
/// For a data parameter it holds only the items themselves. Restoring it deletes the parameter's
/// channels; locks stay as they are.
#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

class ZEL_API ZEL_UndoData
{
public:
    ZEL_UndoData() = default;
    ZEL_UndoData(const ZEL_UndoData &) {}
    ZEL_UndoData &operator=(const ZEL_UndoData &) { return *this; }
    virtual ~ZEL_UndoData();

    /// Bytes, what it shares with others included: for whoever limits what undo keeps.
    virtual std::int64_t getMemoryUsage() const;
};

/// A list's snapshot: see `ZEL_ParmList::saveUndoData`.
using ZEL_UndoDataArray = KIT_Array<std::pair<KIT_StringHolder, std::shared_ptr<ZEL_UndoData>>>;

/// The text form of one instance, as `ZEL_Instance::save` writes it.
class ZEL_API ZEL_InstanceUndoData : public ZEL_UndoData
{
public:
    explicit ZEL_InstanceUndoData(std::string bytes) : myBytes(std::move(bytes)) {}
    ~ZEL_InstanceUndoData() override;

    std::int64_t getMemoryUsage() const override;
    const char *data() const { return myBytes.data(); }
    std::size_t length() const { return myBytes.size(); }

private:
    std::string myBytes;
};
