/// \file NOD_Presets.h
/// The presets of a node type on the search path, arranged by name, with the reason where that can't be done.
///
/// Vocabulary: *folder* = one of the search path; "": where a preset is saved, the first that takes presets, else
///             the one in which the preset is found.
/// Threads:    as ZEL_PresetInfo.
/// Errors:     "" after an error in the report: what the library reports or else, in words, what stands against it.
///             The presets are then as they were.
#pragma once

#include <NOD/NOD_API.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <functional>
#include <string>

class NOD_Report;

class NOD_API NOD_Presets
{
public:
    using Existing = ZEL_PresetInfo::Existing;

    /// `offer` is what a person can do to replace one, as "--force"; for messages.
    NOD_Presets(const std::string &table, const std::string &opName, std::string offer);

    // ------------------------------------------------------------------ //
    /// \name Arranging   (the path of the preset that it is about)
    // ------------------------------------------------------------------ //
    ///@{
    std::string find(const std::string &name, NOD_Report &report);
    /// The text of a preset.
    std::string save(const std::string &text, const std::string &name, const std::string &folder,
                     Existing existing, NOD_Report &report);
    /// Under another name.
    std::string copy(const std::string &name, const std::string &newName, const std::string &folder,
                     Existing existing, NOD_Report &report);
    std::string rename(const std::string &name, const std::string &newName,
                       const std::string &folder, Existing existing, NOD_Report &report);
    /// The path that it had.
    std::string remove(const std::string &name, const std::string &folder, NOD_Report &report);
    ///@}

private:
    std::string placed(const std::string &name) const;
    std::string pathIn(const std::string &name, const std::string &folder);
    std::string originOf(const std::string &name, const std::string &folder);
    std::string refusalOf(const std::string &name, const std::string &folder, Existing existing);
    std::string lackIn(const std::string &name, const std::string &folder);
    bool attempt(const std::string &what, const std::string &folder,
                 const std::function<bool()> &change, const std::function<std::string()> &reason,
                 NOD_Report &report);

    ZEL_PresetInfo myInfo;
    std::string myType; ///< "Node/light"
    std::string myOffer;
};
