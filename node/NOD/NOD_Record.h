/// \file NOD_Record.h
/// What is compared: the contents of a node, a stream, a scene, a script, as a tree of small named parts.
///
/// Vocabulary: *record* = one of them, such as a parameter, a component's value, a key, a node; its *parts* = those
///             that it consists of. *kind* = what it is: a row of NOD_Records.def, which also says how two lists of
///             that kind are matched and how two values are compared. *name* = what tells it from its siblings of the
///             same kind: a token, the number of a component, the time of a key; "" where there can be only one. An
///             item of a block has no name but its place.
/// Units:      items and components from 0.
/// Ownership:  a record owns its parts; a part points to the record that it is in. What is closed shares the bytes
///             that it is read from.
/// Threads:    one thread at a time: parts are made when they are first asked for.
/// Cost:       a closed record costs nothing to compare with one of the same bytes. Of many parts one is found by an
///             index, which is made anew after changeParts().
#pragma once

#include <NOD/NOD_API.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

enum class NOD_RecordKind
{
#define NOD_RECORD(enumerator, word, siblings, values, people) enumerator,
#include <NOD/NOD_Records.def>
#undef NOD_RECORD
};

/// How two lists of a kind are matched: see NOD_Records.def.
enum class NOD_Siblings
{
    KEYED,
    LISTED,
    ORDERED,
    TREE,
    ALIGNED
};

/// How two values of a kind are compared: see NOD_Records.def.
enum class NOD_Comparison
{
    PLAIN,
    NUMBER,
    EXPRESSION,
    LAYOUT
};

struct NOD_API NOD_RecordTraits
{
    const char *word;   ///< in patches
    const char *people; ///< in sentences
    NOD_Siblings siblings;
    NOD_Comparison comparison;

    bool isInOrder() const
    {
        return siblings != NOD_Siblings::KEYED && siblings != NOD_Siblings::ALIGNED;
    }
};

NOD_API const NOD_RecordTraits &NODtraitsOf(NOD_RecordKind kind);
/// By its word; false if there is none.
NOD_API bool NODfindRecordKind(std::string_view word, NOD_RecordKind &kind);

/// Nothing, a number, a whole number or a text. A channel's numbers are texts, as its file has them.
using NOD_Value = std::variant<std::monostate, double, std::int64_t, std::string>;

/// To the bit: 0 isn't -0, and a NaN is itself.
NOD_API bool NODisSameValue(const NOD_Value &left, const NOD_Value &right);
/// For people: a number as the stream has it, a text as it is, "" for nothing.
NOD_API std::string NODvalueText(const NOD_Value &value);

/// A text as it is; "" for what is none.
NOD_API std::string NODtextOf(const NOD_Value &value);

class NOD_Record;

/// What a record's parts are made of once they are asked for.
class NOD_API NOD_ClosedParts
{
public:
    virtual ~NOD_ClosedParts();
    /// Adds them.
    virtual void open(NOD_Record &record) const = 0;
    /// Of the bytes. Equal bytes of one form have equal parts, others may.
    virtual std::uint64_t getHash() const = 0;
    virtual bool isSame(const NOD_ClosedParts &other) const = 0;
    /// Whether the bytes may have an expression that refers to a parameter.
    virtual bool mayRefer() const { return true; }
};

class NOD_API NOD_Record
{
public:
    using Kind = NOD_RecordKind;
    using Parts = std::vector<std::unique_ptr<NOD_Record>>;

    explicit NOD_Record(Kind kind, std::string name = {}, NOD_Value value = {});
    ~NOD_Record();
    NOD_Record(const NOD_Record &) = delete;
    NOD_Record &operator=(const NOD_Record &) = delete;

    // ------------------------------------------------------------------ //
    /// \name What it is
    // ------------------------------------------------------------------ //
    ///@{
    Kind getKind() const { return myKind; }
    const NOD_RecordTraits &getTraits() const { return NODtraitsOf(myKind); }
    const std::string &getName() const { return myName; }
    void setName(std::string name);
    const NOD_Value &getValue() const { return myValue; }
    void setValue(NOD_Value value);
    /// Null for the outermost.
    const NOD_Record *getParent() const { return myParent; }
    NOD_Record *getParent() { return myParent; }
    /// Among the items of its block, as they were at the last numberItems().
    int getItem() const { return myItem; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Parts
    // ------------------------------------------------------------------ //
    ///@{
    const Parts &getParts() const;
    /// To be changed, before any part is looked for again: what was closed is open from now on.
    Parts &changeParts();
    NOD_Record &add(Kind kind, std::string name = {}, NOD_Value value = {});
    NOD_Record &add(std::unique_ptr<NOD_Record> part);
    /// The part of that kind and name, an item by its place; null if there is none.
    const NOD_Record *find(Kind kind, std::string_view name = {}) const;
    NOD_Record *find(Kind kind, std::string_view name = {});
    const NOD_Record *findItem(int item) const;
    /// The value of the part of that kind and name; nothing if there is none.
    NOD_Value valueOf(Kind kind, std::string_view name = {}) const;
    /// Gives the items among the parts their places.
    void numberItems();
    /// The same after changeParts(): all that is there now has this record as its parent.
    void adoptParts();
    /// Parts are read when they are asked for; `closed` may not be null.
    void close(std::shared_ptr<const NOD_ClosedParts> closed);
    bool isClosed() const { return myClosed != nullptr; }
    const std::shared_ptr<const NOD_ClosedParts> &getClosed() const { return myClosed; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name The whole of it
    // ------------------------------------------------------------------ //
    ///@{
    /// Of kind, value and parts, in their order, not of its own name.
    std::uint64_t getHash() const;
    /// The same kind, value and parts, but for the order of those that are keyed; not its own name.
    bool isSame(const NOD_Record &other) const;
    /// The same at less cost: false also for a closed one and an open one, of which only the bytes may differ.
    bool isEqual(const NOD_Record &other) const
    {
        return getHash() == other.getHash() && isSame(other);
    }
    std::unique_ptr<NOD_Record> copy() const;
    ///@}

private:
    struct Index;

    const Index *indexOf() const;
    bool hasSameParts(const NOD_Record &other) const;
    std::uint64_t hashOfParts() const;
    void forgetHash();

    Kind myKind;
    int myItem = 0;
    std::string myName;
    NOD_Value myValue;
    NOD_Record *myParent = nullptr;
    mutable Parts myParts;
    mutable std::shared_ptr<const NOD_ClosedParts> myClosed; ///< null: open
    mutable std::unique_ptr<Index> myIndex;                  ///< null: not known
    mutable std::uint64_t myHash = 0;                        ///< 0: not known
    mutable bool myOpeningFlag = false;
};
