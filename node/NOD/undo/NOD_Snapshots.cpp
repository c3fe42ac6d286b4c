#include <NOD/NOD_Snapshots.h>

#include <algorithm>
#include <utility>

std::vector<std::string> NOD_Snapshots::put(const std::string &name, NOD_NodeState state)
{
    myEntries.push_back({name, std::move(state)});
    const auto last = myEntries.end() - 1;
    const auto old =
        std::find_if(myEntries.begin(), last, [&](const Entry &e) { return e.name == name; });
    if (old != last) {
        myEntries.erase(old);
    }
    std::vector<std::string> dropped;
    while (myEntries.size() > 1 && countBytes() > myMostBytes) {
        dropped.push_back(myEntries.front().name);
        myEntries.pop_front();
    }
    return dropped;
}

std::int64_t NOD_Snapshots::countBytes() const
{
    std::int64_t bytes = 0;
    for (const Entry &entry : myEntries) {
        bytes += std::int64_t(sizeof(entry) + entry.name.capacity()) + entry.state.getMemoryUsage();
    }
    return bytes;
}

const NOD_NodeState *NOD_Snapshots::find(const std::string &name) const
{
    const auto found = std::find_if(myEntries.begin(), myEntries.end(),
                                    [&](const Entry &e) { return e.name == name; });
    return found == myEntries.end() ? nullptr : &found->state;
}

std::vector<std::string> NOD_Snapshots::getNames() const
{
    std::vector<std::string> names;
    for (const Entry &entry : myEntries) {
        names.push_back(entry.name);
    }
    std::sort(names.begin(), names.end());
    return names;
}
