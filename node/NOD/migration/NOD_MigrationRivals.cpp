#include <NOD/migration/NOD_MigrationRivalsPrivate.h>

#include <BAS/BAS_Character.h>

#include <algorithm>

namespace
{

using Step = NOD_MigrationStep;

/// Whether two steps of its kind can't be about one source, as those of one entry of a menu.
bool hasSources(const Step &step)
{
    return step.kind == Step::Kind::MENU || step.isMove();
}

/// Only steps of one entry are compared.
std::string keyOf(const std::string &name, const Step &step)
{
    return step.kind == Step::Kind::MENU ? name + '\0' + step.entry : name;
}

std::string shapeOf(const std::string &name)
{
    std::string shape;
    for (const char c : name) {
        const bool markFlag = c == '#' || BASisDigit(c);
        if (!markFlag || shape.empty() || shape.back() != '#') {
            shape += markFlag ? '#' : c;
        }
    }
    return shape;
}

bool isPattern(const std::string &name)
{
    return name.find('#') != std::string::npos;
}

} // namespace

void NOD_MigrationRivals::add(const Step &step)
{
    const std::size_t place = myCount++;
    for (const std::string &name : step.targets) {
        myTargets[name].push_back(place);
    }
    for (const std::string &name : hasSources(step) ? step.sources : std::vector<std::string>()) {
        mySources[keyOf(name, step)].push_back(place);
        (isPattern(name) ? myPatterns : myNames)[keyOf(shapeOf(name), step)].push_back(place);
    }
}

std::vector<std::size_t> NOD_MigrationRivals::find(const Step &step) const
{
    std::vector<std::size_t> found;
    const auto take = [&](const Places &places, const std::string &key) {
        const auto at = places.find(key);
        if (at != places.end()) {
            found.insert(found.end(), at->second.begin(), at->second.end());
        }
    };
    for (const std::string &name : step.targets) {
        take(myTargets, name);
    }
    for (const std::string &name : hasSources(step) ? step.sources : std::vector<std::string>()) {
        const std::string shape = keyOf(shapeOf(name), step);
        take(mySources, keyOf(name, step));
        take(myPatterns, shape);
        if (isPattern(name)) {
            take(myNames, shape);
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}
