#include <NOD/difference/NOD_MergeReferencesPrivate.h>

#include <BAS/BAS_Character.h>
#include <NOD/NOD_Matching.h>
#include <NOD/difference/NOD_BlockNamesPrivate.h>
#include <NOD/difference/NOD_EntryRecordsPrivate.h>
#include <TRK/TRK_NodePaths.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;
using Form = TRK_NodePaths::Form;

constexpr const char *theMark = "mark"; ///< of a record of blanks, which no item of a file has

const std::string *markOf(const NOD_Record &item)
{
    const NOD_Record *const mark = item.find(Kind::BLANKS, theMark);
    return mark ? std::get_if<std::string>(&mark->getValue()) : nullptr;
}

using Use = std::function<void(NOD_Record &record)>;

void forEach(NOD_Record &record, const Use &use)
{
    use(record);
    for (const auto &part : record.getParts()) {
        forEach(*part, use);
    }
}

/// The names of each parameter: with the numbers of its items, and with their marks; "" without a mark.
void addNames(const NOD_Record &record, std::vector<int> &numbers, const std::string &marks,
              const std::function<void(const std::string &name, const std::string &marked)> &use)
{
    for (const auto &part : record.getParts()) {
        if (part->getKind() != Kind::PARM) {
            continue;
        }
        use(NOD_BlockNames::nameOf(part->getName(), numbers), part->getName() + marks);
        for (const auto &item : part->getParts()) {
            if (item->getKind() == Kind::ITEM) {
                const std::string *const mark = markOf(*item);
                numbers.push_back(NODfirstNumber(*part) + item->getItem());
                addNames(*item, numbers, marks + "<" + (mark ? *mark : std::string()) + ">", use);
                numbers.pop_back();
            }
        }
    }
}

NOD_ItemNames namesOf(const NOD_Record &contents, bool byMarks)
{
    NOD_ItemNames names;
    std::vector<int> numbers;
    addNames(contents, numbers, {}, [&](const std::string &name, const std::string &marked) {
        names.emplace(byMarks ? marked : name, byMarks ? name : marked);
    });
    return names;
}

/// What channel names have behind the token, of a parameter that a file may leave out.
bool isComponent(std::string_view rest)
{
    return rest.empty() || rest == "min" || rest == "max" ||
           (rest.size() == 1 && BASisAlphaNumeric(rest[0]) && !BASisDigit(rest[0]));
}

/// Replaces the name that a reference begins with, the longest one: what is left of it is a component.
bool replaceName(const NOD_ItemNames &names, std::string &reference)
{
    if (reference.find('/') != std::string::npos) {
        return false;
    }
    for (std::size_t length = reference.size(); length > 0; --length) {
        const bool wholeFlag = isComponent(std::string_view(reference).substr(length));
        const auto found = wholeFlag ? names.find(reference.substr(0, length)) : names.end();
        if (found != names.end()) {
            reference.replace(0, length, found->second);
            return found->second != found->first;
        }
    }
    return false;
}

/// What a text is that may have references; false for a record without any.
bool hasForm(const NOD_Record &record, Form &form)
{
    const Kind kind = record.getKind();
    const bool expressionFlag = kind == Kind::EXPRESSION || kind == Kind::DEFAULT_TEXT;
    const auto *text = std::get_if<std::string>(&record.getValue());
    if (!text || (!expressionFlag && kind != Kind::VALUE) ||
        (kind == Kind::VALUE && !TRK_NodePaths::hasExpression(text->c_str()))) {
        return false;
    }
    const Kind language = kind == Kind::EXPRESSION ? Kind::LANGUAGE : Kind::TEXT_LANGUAGE;
    const NOD_Record *const parent = record.getParent();
    const bool pythonFlag =
        parent && NODvalueText(parent->valueOf(language)).find("python") != std::string::npos;
    form = !expressionFlag ? Form::TEXT : pythonFlag ? Form::PYTHON : Form::NATIVE;
    return true;
}

/// In all expressions and backticks; how many.
int rename(NOD_Record &record, const NOD_ItemNames &names, bool dryFlag = false)
{
    int count = 0;
    forEach(record, [&](NOD_Record &one) {
        Form form = Form::NATIVE;
        if (!hasForm(one, form)) {
            return;
        }
        std::string text = std::get<std::string>(one.getValue());
        int found = 0;
        TRK_NodePaths::forEach(
            text, form, nullptr,
            [&](std::string &reference) {
                const bool itFlag = replaceName(names, reference);
                found += itFlag ? 1 : 0;
                return itFlag;
            },
            TRK_NodePaths::Part::ALL);
        if (found > 0 && !dryFlag) {
            one.setValue(std::move(text));
        }
        count += found;
    });
    return count;
}

void removeMarks(NOD_Record &record)
{
    forEach(record, [](NOD_Record &one) {
        if (one.getKind() == Kind::ITEM && markOf(one)) {
            NOD_Record::Parts &parts = one.changeParts();
            parts.erase(std::remove_if(parts.begin(), parts.end(),
                                       [](const auto &part) {
                                           return part->getKind() == Kind::BLANKS &&
                                                  part->getName() == theMark;
                                       }),
                        parts.end());
        }
    });
}

/// Which mark each item gets: one that has a base that of the base, another one by what is in it.
class Marking
{
public:
    explicit Marking(const std::array<NOD_Record *, 3> &states)
        : myStates(states), myOurs(*states[0], *states[1], exactly()),
          myTheirs(*states[0], *states[2], exactly())
    {}

    void run()
    {
        pair(*myStates[0], {myStates[1], myStates[2]});
        for (NOD_Record *state : myStates) {
            std::unordered_map<std::uint64_t, int> counts;
            forEach(*state, [&](NOD_Record &record) {
                if (record.getKind() == Kind::ITEM && myMarks.count(&record) == 0) {
                    const std::uint64_t hash = record.getHash();
                    myMarks[&record] =
                        "n" + std::to_string(hash) + "." + std::to_string(counts[hash]++);
                }
            });
        }
        for (const auto &[item, mark] : myMarks) {
            item->add(Kind::BLANKS, theMark, mark);
        }
    }

private:
    using Partners = std::array<NOD_Record *, 2>;

    /// What is within equal ones has no partner of its own.
    NOD_Record *partnerOf(const NOD_Record &part, const NOD_Record &base, NOD_Record *partner,
                          const NOD_Matching &matching) const
    {
        if (!partner) {
            return nullptr;
        }
        const bool equalFlag = matching.isEqual(base) || matching.partnerOf(base) != partner;
        const NOD_Record *const found = !equalFlag ? matching.partnerOf(part)
                                        : part.getKind() == Kind::ITEM
                                            ? partner->findItem(part.getItem())
                                            : partner->find(part.getKind(), part.getName());
        return const_cast<NOD_Record *>(found);
    }
    void pair(NOD_Record &base, const Partners &partners)
    {
        for (const auto &part : base.getParts()) {
            const Partners inner = {partnerOf(*part, base, partners[0], myOurs),
                                    partnerOf(*part, base, partners[1], myTheirs)};
            if (part->getKind() == Kind::ITEM) {
                const std::string mark = std::to_string(myNext++);
                myMarks[part.get()] = mark;
                for (NOD_Record *partner : inner) {
                    if (partner) {
                        myMarks.emplace(partner, mark);
                    }
                }
            }
            pair(*part, inner);
        }
    }

    static const NOD_CompareOptions &exactly()
    {
        static const NOD_CompareOptions theOptions{true, {}};
        return theOptions;
    }

    const std::array<NOD_Record *, 3> &myStates;
    NOD_Matching myOurs;
    NOD_Matching myTheirs;
    std::unordered_map<NOD_Record *, std::string> myMarks;
    int myNext = 0;
};

} // namespace

bool NODhasItemReferences(const NOD_Record &contents)
{
    constexpr bool isDry = true;
    bool textFlag = false;
    forEach(const_cast<NOD_Record &>(contents), [&](const NOD_Record &record) {
        Form form = Form::NATIVE;
        textFlag =
            textFlag || (hasForm(record, form) &&
                         NODvalueText(record.getValue()).find_first_of("\"'") != std::string::npos);
    });
    constexpr bool byMarks = false;
    return textFlag &&
           rename(const_cast<NOD_Record &>(contents), namesOf(contents, byMarks), isDry) > 0;
}

void NODmarkItems(const std::array<NOD_Record *, 3> &states)
{
    constexpr bool byMarks = false;
    Marking(states).run();
    for (NOD_Record *state : states) {
        rename(*state, namesOf(*state, byMarks));
    }
}

void NODunmarkItems(NOD_Record &made, const std::array<NOD_Record *, 3> &states)
{
    constexpr bool byMarks = true;
    NOD_ItemNames names = namesOf(made, byMarks);
    for (const int side : {1, 2, 0}) {
        names.merge(namesOf(*states[std::size_t(side)], byMarks));
    }
    rename(made, names);
    removeMarks(made);
}

void NODunmarkCopy(NOD_Record &copy, const NOD_Record &contents)
{
    constexpr bool byMarks = true;
    rename(copy, namesOf(contents, byMarks));
    removeMarks(copy);
}
