/// \file KIT_JSONValue.h
/// One JSON value: null, a boolean, a number, a text, an array or a map.
///
/// Vocabulary: *container* = an array or a map.
/// Units:      integers have 64 bits; a larger one read from a file becomes a real number. Texts
///             are UTF-8 without NUL: they end at their first one, and a byte that isn't UTF-8
///             becomes the replacement character.
/// Ownership:  owns its text and shares its container with its copies. A shared container must not
///             be changed any more.
/// Threads:    const calls from any thread; the counts of containers are atomic.
/// Errors:     asking for a form that the value doesn't have gives null, 0 or false.
/// Cost:       a copy increments at most one count.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_StringHolder.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <variant>

class KIT_AutoJSONParser;
class KIT_JSONValueMap;
class KIT_JSONWriter;

/// The text as JSON can hold it: see *Units* above. A text that is valid already is shared.
KIT_API KIT_StringHolder KITjsonText(const KIT_StringRef &text);
KIT_API KIT_StringHolder KITjsonText(std::string_view text);

class KIT_API KIT_JSONValue
{
public:
    enum Type
    {
        JSON_NULL,
        JSON_BOOL,
        JSON_INT,
        JSON_REAL,
        JSON_STRING,
        JSON_ARRAY,
        JSON_MAP
    };
    using Array = KIT_Array<KIT_JSONValue>;

    // ---------------------------------------------------------------- //
    /// \name Making
    // ---------------------------------------------------------------- //
    /// Null.
    KIT_JSONValue() = default;
    explicit KIT_JSONValue(bool value) : myValue(value) {}
    explicit KIT_JSONValue(int value) : myValue(int64_t{value}) {}
    explicit KIT_JSONValue(int64_t value) : myValue(value) {}
    explicit KIT_JSONValue(double value) : myValue(value) {}
    /// Null for a null pointer.
    explicit KIT_JSONValue(const char *text);
    explicit KIT_JSONValue(std::string_view text);
    explicit KIT_JSONValue(Array items);
    /// Shares the map; null for a null pointer.
    explicit KIT_JSONValue(KIT_JSONValueMap *map);

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    Type getType() const { return Type(myValue.index()); }
    bool getB() const;
    int64_t getI() const;
    /// Also of an integer.
    double getF() const;
    /// The value as text: a text unchanged, a number, "true" or "false", null as "", a container as
    /// its JSON on one line.
    KIT_StringHolder getS() const;
    const Array *getArray() const;
    KIT_JSONValueMap *getMap();
    const KIT_JSONValueMap *getMap() const { return const_cast<KIT_JSONValue *>(this)->getMap(); }

    // ---------------------------------------------------------------- //
    /// \name Streams
    // ---------------------------------------------------------------- //
    /// Becomes the document that the parser reads; null, and false, when that is malformed.
    bool parseValue(KIT_AutoJSONParser &parser);
    bool save(KIT_JSONWriter &writer) const;

private:
    /// A counted pointer to a map, never null.
    class KIT_API MapHandle
    {
    public:
        explicit MapHandle(KIT_JSONValueMap *map);
        MapHandle(const MapHandle &other);
        MapHandle(MapHandle &&other) noexcept : myMap(other.myMap) { other.myMap = nullptr; }
        MapHandle &operator=(MapHandle other) noexcept
        {
            std::swap(myMap, other.myMap);
            return *this;
        }
        ~MapHandle();
        KIT_JSONValueMap *get() const { return myMap; }

    private:
        KIT_JSONValueMap *myMap;
    };
    // In the order of Type.
    using Variant = std::variant<std::monostate, bool, int64_t, double, KIT_StringHolder,
                                 std::shared_ptr<const Array>, MapHandle>;

    Variant myValue;
};
