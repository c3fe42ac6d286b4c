/// \file NOD_FolderBuilder.h
/// Describes a set of folders that was added to a NOD_InterfaceBuilder:
///
///     light.tabs("pages")
///         .page("Look", [](NOD_InterfaceBuilder &page) { page.add(ZEL_RGB, "tint", "Tint").size(3); })
///         .page("Motion", [](NOD_InterfaceBuilder &page) { ... })
///         .hideTabWhen("{ animated == off }");
///
/// Ownership, Threads, Errors: as NOD_ParmBuilder.
#pragma once

#include <NOD/NOD_API.h>

#include <string_view>

class NOD_InterfaceBuilder;
struct NOD_ParmRecord;

class NOD_API NOD_FolderBuilder
{
public:
    explicit NOD_FolderBuilder(NOD_ParmRecord &record) : myRecord(&record) {}

    /// Adds a folder and calls `fill` with the builder of its parameters. The template is complete
    /// where NOD_InterfaceBuilder.h is included.
    template <class Fill>
    NOD_FolderBuilder &page(std::string_view label, Fill &&fill);

    // ------------------------------------------------------------------ //
    /// \name The folder that was added last
    // ------------------------------------------------------------------ //
    ///@{
    NOD_FolderBuilder &hiddenTab();
    NOD_FolderBuilder &disableTabWhen(std::string_view condition);
    NOD_FolderBuilder &hideTabWhen(std::string_view condition);
    NOD_FolderBuilder &noCookTabWhen(std::string_view condition);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name The set
    // ------------------------------------------------------------------ //
    ///@{
    NOD_FolderBuilder &invisible();
    NOD_FolderBuilder &baseParm();
    NOD_FolderBuilder &disableWhen(std::string_view condition);
    NOD_FolderBuilder &hideWhen(std::string_view condition);
    NOD_FolderBuilder &noCookWhen(std::string_view condition);
    NOD_FolderBuilder &tag(std::string_view token, std::string_view value);
    ///@}

private:
    NOD_InterfaceBuilder addPage(std::string_view label);

    NOD_ParmRecord *myRecord;
};
