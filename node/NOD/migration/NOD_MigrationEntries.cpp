// What became of the values, for people.

#include <NOD/NOD_Migration.h>

#include <algorithm>
#include <string_view>

const char *NOD_Migration::getFateName(Fate fate)
{
    switch (fate) {
    case Fate::CARRIED: return "carried";
    case Fate::DEFAULT: return "default";
    case Fate::CHANGED: return "changed";
    case Fate::LOST: return "lost";
    case Fate::CONVERTED: return "converted";
    case Fate::DROPPED: return "dropped";
    default: return "new";
    }
}

std::string NOD_Migration::Entry::asText() const
{
    std::string text = std::string(getFateName(fate)) + " " + token;
    text += newToken.empty() || newToken == token ? "" : " as " + newToken;
    text += " " + (fate == Fate::NEW ? after : before);
    if (fate == Fate::CHANGED || fate == Fate::DEFAULT || fate == Fate::CONVERTED) {
        text += " -> " + after;
    }
    text += fate == Fate::LOST && defaultFlag ? " (its default)" : "";
    text += reason.empty() ? "" : ": " + reason;
    const char *between = " [";
    for (const NOD_MigrationStep &step : steps) {
        // Of a rename and a drop all is said.
        if (step.kind != NOD_MigrationStep::Kind::RENAME &&
            step.kind != NOD_MigrationStep::Kind::DROP) {
            text += between + step.asText();
            between = ", ";
        }
    }
    return text + (std::string_view(between) == ", " ? "]" : "");
}

int NOD_Migration::count(Fate fate) const
{
    return int(std::count_if(myEntries.begin(), myEntries.end(),
                             [&](const Entry &entry) { return entry.fate == fate; }));
}

bool NOD_Migration::hasLoss() const
{
    return std::any_of(myEntries.begin(), myEntries.end(), [](const Entry &entry) {
        return entry.fate == Fate::CHANGED || (entry.fate == Fate::LOST && !entry.defaultFlag);
    });
}
