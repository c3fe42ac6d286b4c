#include <NOD/snapshot/NOD_SnapshotTreePrivate.h>

#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>

NOD_SnapshotTree::NOD_SnapshotTree(std::vector<Place> places) : myPlaces(std::move(places))
{
    for (std::uint32_t i = 0; i < myPlaces.size(); ++i) {
        if (myPlaces[i].parent != theNone) {
            myPlaces[myPlaces[i].parent].children.emplace(myPlaces[i].name, i);
        }
    }
}

std::uint32_t NOD_SnapshotTree::step(std::uint32_t place, std::string_view name) const
{
    if (name.empty() || name == ".") {
        return place;
    }
    const Place &at = myPlaces[place];
    if (name == "..") {
        return at.parent;
    }
    const auto found = at.children.find(name);
    return found != at.children.end() ? found->second : theNone;
}

std::uint32_t NOD_SnapshotTree::find(std::uint32_t from, std::string_view path) const
{
    std::uint32_t place = !path.empty() && path.front() == '/' ? 0 : from;
    std::size_t start = 0;
    while (place != theNone && start < path.size()) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        place = step(place, path.substr(start, end - start));
        start = end + 1;
    }
    return place;
}

void NOD_SnapshotTree::appendPath(std::uint32_t place, KIT_WorkBuffer &path) const
{
    const Place &at = myPlaces[place];
    if (at.parent != theNone && at.parent != 0) {
        appendPath(at.parent, path);
    }
    path.append('/');
    path.append(at.name.c_str());
}

std::string NOD_SnapshotTree::pathOf(std::uint32_t place) const
{
    KIT_WorkBuffer path;
    appendPath(place, path);
    return std::string(path.view());
}

const std::string *NOD_SnapshotTree::findVariable(std::uint32_t place,
                                                  const std::string &name) const
{
    for (; place != theNone; place = myPlaces[place].parent) {
        const auto &variables = myPlaces[place].variables;
        const auto found = variables ? variables->find(name) : decltype(variables->find(name))();
        if (variables && found != variables->end()) {
            return &found->second;
        }
    }
    return nullptr;
}

std::int64_t NOD_SnapshotTree::getMemoryUsage() const
{
    std::size_t bytes = sizeof(*this) + myPlaces.capacity() * sizeof(Place) +
                        myOrder.capacity() * sizeof(std::uint32_t);
    for (const Place &place : myPlaces) {
        bytes += place.name.capacity() > 15 ? place.name.capacity() : 0;
        bytes += place.children.size() * 5 * sizeof(void *);
    }
    return std::int64_t(bytes);
}
