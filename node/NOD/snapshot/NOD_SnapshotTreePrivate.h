/// \file NOD_SnapshotTreePrivate.h
/// The names, places and variables of a snapshot's nodes. Snapshots share it until the tree changes.
///
/// Vocabulary: *place* = a node's number in the snapshots of a scene, from 0, that of the root. A number whose node
///             is gone is given to another one.
/// Threads:    immutable once made; any thread.
#pragma once

#include <KIT/KIT_StringRef.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class KIT_WorkBuffer;

class NOD_SnapshotTree
{
public:
    static constexpr std::uint32_t theNone = ~0u;

    struct Place
    {
        std::string name;
        std::uint32_t parent = theNone;
        std::unordered_map<std::string_view, std::uint32_t>
            children; ///< names are the children's own
        std::shared_ptr<const std::map<std::string, std::string>> variables; ///< null for none
    };

    /// For `count` places; those without a name and parent but the first are empty.
    explicit NOD_SnapshotTree(std::vector<Place> places);

    /// From a place on, or from the root; theNone if there is none.
    std::uint32_t find(std::uint32_t from, std::string_view path) const;
    void appendPath(std::uint32_t place, KIT_WorkBuffer &path) const;
    std::string pathOf(std::uint32_t place) const;
    /// Of what has that name in the node there.
    std::string addressOf(std::uint32_t place, std::string_view name) const
    {
        const std::string path = pathOf(place);
        return (path == "/" ? path : path + "/") + std::string(name);
    }
    /// Of the place or the nearest above that has it; null if none has.
    const std::string *findVariable(std::uint32_t place, const std::string &name) const;
    /// The places in use, parents first, each parent's children in the order of the scene.
    const std::vector<std::uint32_t> &getOrder() const { return myOrder; }
    void setOrder(std::vector<std::uint32_t> order) { myOrder = std::move(order); }
    std::int64_t getMemoryUsage() const;

private:
    std::uint32_t step(std::uint32_t place, std::string_view name) const;

    std::vector<Place> myPlaces;
    std::vector<std::uint32_t> myOrder;
};
