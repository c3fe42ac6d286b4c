/// \file NOD_InterfaceBuilder.h
/// Describes the parameters of a node type in C++, a parameter in one expression.
///
///     NOD_InterfaceBuilder light("light", "Light");
///     light.add(ZEL_FLT, "intensity", "Intensity").defaultTo(1).hardRange(0, 100);
///     light.add(ZEL_ORD, "shape", "Shape").menu({{"area", "Area"}, {"point", "Point"}});
///     light.add(ZEL_FLT, "width", "Width").disableWhen("{ shape == point }");
///     light.block("filters", "Filters", [](NOD_InterfaceBuilder &item) {
///         item.add(ZEL_STRING, "filter#", "Filter #");
///     }).items(1);
///     const std::shared_ptr<const NOD_Interface> made = light.make(report);
///
/// Vocabulary: *block* = a multi-parameter; the names in it have a `#` for the item's number.
/// Ownership:  copies what it is given; what it made is independent of it.
/// Threads:    one thread at a time.
/// Errors:     what can't be is kept, and told by make() with all that NODcheckInterface() finds.
///
/// What is made behaves as if it came from the dialog script of the same words, which NODscriptText()
/// writes: each parameter but a separator can be animated, whichever form of a type is given (ZEL_FLT or
/// ZEL_FLT_E); a change recomputes the owner unless cooks(false) says otherwise.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_FolderBuilder.h>
#include <NOD/NOD_ParmBuilder.h>
#include <ZEL/ZEL_Type.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class NOD_Interface;
class NOD_Report;

class NOD_API NOD_InterfaceBuilder
{
public:
    /// Without a label the type name takes its place.
    explicit NOD_InterfaceBuilder(std::string_view typeName, std::string_view label = {});
    ~NOD_InterfaceBuilder();
    NOD_InterfaceBuilder(NOD_InterfaceBuilder &&) noexcept;
    NOD_InterfaceBuilder &operator=(NOD_InterfaceBuilder &&) noexcept;

    // ------------------------------------------------------------------ //
    /// \name Parameters   (an empty label: the token is shown)
    // ------------------------------------------------------------------ //
    ///@{
    NOD_ParmBuilder add(const ZEL_Type &type, std::string_view token, std::string_view label = {});
    /// Keys of a curve of numbers, or of colours.
    NOD_ParmBuilder ramp(std::string_view token, std::string_view label = {});
    NOD_ParmBuilder colorRamp(std::string_view token, std::string_view label = {});
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Blocks   (`fill` is called with the builder of an item's parameters)
    // ------------------------------------------------------------------ //
    ///@{
    template <class Fill>
    NOD_ParmBuilder block(std::string_view token, std::string_view label, Fill &&fill)
    {
        return block(ZEL_MULTITYPE_LIST, token, label, std::forward<Fill>(fill));
    }
    /// One of ZEL_MULTITYPE_LIST, _SCROLL and _SWITCHER.
    template <class Fill>
    NOD_ParmBuilder block(ZEL_MultiType kind, std::string_view token, std::string_view label,
                          Fill &&fill)
    {
        NOD_ParmRecord &record = addBlock(kind, token, label);
        NOD_InterfaceBuilder item(record);
        std::forward<Fill>(fill)(item);
        return NOD_ParmBuilder(record);
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Folders   (`fill` is called with the builder of a folder's parameters)
    // ------------------------------------------------------------------ //
    ///@{
    /// A set with a tab, or a radio button, for each page.
    NOD_FolderBuilder tabs(std::string_view token);
    NOD_FolderBuilder radio(std::string_view token);
    /// One folder that opens and closes, or is always open.
    template <class Fill>
    NOD_FolderBuilder collapsible(std::string_view token, std::string_view label, Fill &&fill)
    {
        return addSingle("collapsible", token).page(label, std::forward<Fill>(fill));
    }
    template <class Fill>
    NOD_FolderBuilder simple(std::string_view token, std::string_view label, Fill &&fill)
    {
        return addSingle("simple", token).page(label, std::forward<Fill>(fill));
    }
    ///@}

    /// Null after an error: all faults are told. Any number of times. Of the builder of a folder or of a
    /// block's item, it makes those parameters alone.
    std::shared_ptr<const NOD_Interface> make(NOD_Report &report) const;

private:
    friend class NOD_FolderBuilder;

    /// Of what a folder or a block contains.
    explicit NOD_InterfaceBuilder(std::vector<std::unique_ptr<NOD_ParmRecord>> &members);
    explicit NOD_InterfaceBuilder(NOD_ParmRecord &block);

    NOD_ParmRecord &append(std::string_view token, std::string_view label);
    NOD_ParmRecord &addBlock(ZEL_MultiType kind, std::string_view token, std::string_view label);
    NOD_FolderBuilder addSingle(const char *groupType, std::string_view token);
    NOD_FolderBuilder addFolders(const ZEL_Type &type, std::string_view token);

    std::string myTypeName;
    std::string myLabel;
    std::vector<std::unique_ptr<NOD_ParmRecord>> myOwn;
    std::vector<std::unique_ptr<NOD_ParmRecord>> *myBorrowed = nullptr; // instead of the own ones
};

template <class Fill>
NOD_FolderBuilder &NOD_FolderBuilder::page(std::string_view label, Fill &&fill)
{
    NOD_InterfaceBuilder members = addPage(label);
    std::forward<Fill>(fill)(members);
    return *this;
}
