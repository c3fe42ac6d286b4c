#include <NOD/tree/NOD_LostReferencesPrivate.h>

#include <algorithm>

void NOD_LostReferences::wait(const NOD_GraphReader &reader, const NOD_Node *target,
                              const std::string &key, Names &names)
{
    std::vector<Wait> &waits = myReaders[reader.node][reader.token];
    const auto isSame = [&](const Wait &other) {
        return other.target == target && other.component == reader.component && other.key == key;
    };
    if (std::none_of(waits.begin(), waits.end(), isSame)) {
        waits.push_back({target, key, reader.component, ++myLast});
        names[key].emplace(myLast, reader);
    }
}

void NOD_LostReferences::watchPath(const NOD_GraphReader &reader, const std::string &path)
{
    wait(reader, nullptr, path, myPaths);
}

void NOD_LostReferences::waitForName(const NOD_GraphReader &reader, const NOD_Node &target,
                                     std::string_view name)
{
    wait(reader, &target, std::string(name), myNames[&target]);
}

void NOD_LostReferences::drop(const std::vector<Wait> &waits)
{
    for (const Wait &wait : waits) {
        const auto target = myNames.find(wait.target);
        Names *const names = !wait.target              ? &myPaths
                             : target == myNames.end() ? nullptr
                                                       : &target->second;
        const auto waiting = names ? names->find(wait.key) : Names::iterator();
        if (!names || waiting == names->end()) {
            continue;
        }
        waiting->second.erase(wait.order);
        if (waiting->second.empty()) {
            names->erase(waiting);
        }
        if (wait.target && names->empty()) {
            myNames.erase(target);
        }
    }
}

void NOD_LostReferences::forget(const NOD_Node &node, const std::string &token)
{
    const auto reader = myReaders.find(&node);
    const auto waits = reader == myReaders.end() ? Waits::iterator() : reader->second.find(token);
    if (reader == myReaders.end() || waits == reader->second.end()) {
        return;
    }
    drop(waits->second);
    reader->second.erase(waits);
    if (reader->second.empty()) {
        myReaders.erase(reader);
    }
}

void NOD_LostReferences::forget(const NOD_Node &node)
{
    const auto reader = myReaders.find(&node);
    if (reader == myReaders.end()) {
        return;
    }
    for (const auto &[token, waits] : reader->second) {
        drop(waits);
    }
    myReaders.erase(reader);
}

void NOD_LostReferences::clear()
{
    myPaths.clear();
    myNames.clear();
    myReaders.clear();
}

void NOD_LostReferences::add(const Waiting &waiting, Readers &readers)
{
    for (const auto &[order, reader] : waiting) {
        readers.push_back(reader);
    }
}

void NOD_LostReferences::addWatchers(const std::string &path, Readers &readers) const
{
    const auto waiting = myPaths.find(path);
    if (waiting != myPaths.end()) {
        add(waiting->second, readers);
    }
}

void NOD_LostReferences::addWaiting(
    const NOD_Node &node, Readers &readers,
    const std::function<bool(const std::string &name)> &appears) const
{
    const auto names = myNames.find(&node);
    if (names == myNames.end()) {
        return;
    }
    for (const auto &[name, waiting] : names->second) {
        if (appears(name)) {
            add(waiting, readers);
        }
    }
}

std::int64_t NOD_LostReferences::getMemoryUsage() const
{
    // A map's node has a header of four words.
    constexpr std::size_t theHeader = 4 * sizeof(void *);
    std::size_t bytes = sizeof(*this);
    for (const auto &[node, waits] : myReaders) {
        bytes += sizeof(Waits) + theHeader;
        for (const auto &[token, each] : waits) {
            bytes += sizeof(token) + sizeof(each) + theHeader;
            bytes += each.size() * (sizeof(Wait) + sizeof(NOD_GraphReader) + sizeof(Waiting) +
                                    sizeof(std::string) + 2 * theHeader);
        }
    }
    return std::int64_t(bytes);
}
