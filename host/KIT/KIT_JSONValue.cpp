#include <KIT/KIT_JSONValue.h>

#include <BAS/BAS_Utf8.h>
#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_WorkBuffer.h>

#include <string>

// -------------------------------------------------------------------------- //
// Texts
// -------------------------------------------------------------------------- //

namespace
{

/// The bytes of the character that the text starts with; 0 for a byte that isn't UTF-8, or a NUL.
std::size_t characterLength(std::string_view text)
{
    return text[0] == '\0' ? 0 : BASutf8Length(text);
}

std::size_t goodLength(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = characterLength(text.substr(at));
        if (length == 0) {
            break;
        }
        at += length;
    }
    return at;
}

} // namespace

KIT_StringHolder KITjsonText(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    std::size_t at = goodLength(text);
    if (at == text.size()) {
        return text.empty() ? KIT_StringHolder::theEmptyString
                            : KIT_StringHolder(text.data(), text.size());
    }
    std::string good(text, 0, at);
    while (at < text.size()) {
        good += "\xef\xbf\xbd";
        const std::size_t length = goodLength(text.substr(++at));
        good.append(text, at, length);
        at += length;
    }
    return KIT_StringHolder(good);
}

KIT_StringHolder KITjsonText(const KIT_StringRef &text)
{
    const bool good = !text.isNull() && goodLength(text.view()) == text.length();
    return good ? KIT_StringHolder(text) : KITjsonText(text.view());
}

// -------------------------------------------------------------------------- //
// The counted pointer
// -------------------------------------------------------------------------- //

KIT_JSONValue::MapHandle::MapHandle(KIT_JSONValueMap *map) : myMap(map)
{
    myMap->bumpRef(1);
}

KIT_JSONValue::MapHandle::MapHandle(const MapHandle &other) : myMap(other.myMap)
{
    if (myMap) {
        myMap->bumpRef(1);
    }
}

KIT_JSONValue::MapHandle::~MapHandle()
{
    if (myMap) {
        myMap->bumpRef(-1);
    }
}

// -------------------------------------------------------------------------- //
// Making
// -------------------------------------------------------------------------- //

KIT_JSONValue::KIT_JSONValue(const char *text)
{
    if (text) {
        myValue = KITjsonText(std::string_view(text));
    }
}

KIT_JSONValue::KIT_JSONValue(std::string_view text) : myValue(KITjsonText(text)) {}

KIT_JSONValue::KIT_JSONValue(Array items)
    : myValue(std::shared_ptr<const Array>(std::make_shared<Array>(std::move(items))))
{}

KIT_JSONValue::KIT_JSONValue(KIT_JSONValueMap *map)
{
    if (map) {
        myValue = MapHandle(map);
    }
}

// -------------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------------- //

bool KIT_JSONValue::getB() const
{
    const bool *value = std::get_if<bool>(&myValue);
    return value && *value;
}

int64_t KIT_JSONValue::getI() const
{
    const int64_t *value = std::get_if<int64_t>(&myValue);
    return value ? *value : 0;
}

double KIT_JSONValue::getF() const
{
    const double *value = std::get_if<double>(&myValue);
    return value ? *value : double(getI());
}

KIT_StringHolder KIT_JSONValue::getS() const
{
    if (const KIT_StringHolder *text = std::get_if<KIT_StringHolder>(&myValue)) {
        return *text;
    }
    if (getType() == JSON_NULL) {
        return KIT_StringHolder::theEmptyString;
    }
    KIT_WorkBuffer text;
    save(*KIT_JSONWriter::allocWriter(text, false));
    return KIT_StringHolder(text.buffer(), text.length());
}

const KIT_JSONValue::Array *KIT_JSONValue::getArray() const
{
    const auto *items = std::get_if<std::shared_ptr<const Array>>(&myValue);
    return items ? items->get() : nullptr;
}

KIT_JSONValueMap *KIT_JSONValue::getMap()
{
    const MapHandle *map = std::get_if<MapHandle>(&myValue);
    return map ? map->get() : nullptr;
}

// -------------------------------------------------------------------------- //
// Streams
// -------------------------------------------------------------------------- //

bool KIT_JSONValue::parseValue(KIT_AutoJSONParser &parser)
{
    return parser.parse(*this);
}

bool KIT_JSONValue::save(KIT_JSONWriter &writer) const
{
    switch (getType()) {
    case JSON_NULL: return writer.writeNull();
    case JSON_BOOL: return writer.writeBool(getB());
    case JSON_INT: return writer.writeInt(getI());
    case JSON_REAL: return writer.writeReal(getF());
    case JSON_STRING: return writer.writeText(getS().view());
    case JSON_MAP: return getMap()->save(writer);
    case JSON_ARRAY: break;
    }
    const Array &items = *getArray();
    bool good = writer.beginArray(items.size());
    for (int64_t i = 0; good && i < items.size(); ++i) {
        good = items[i].save(writer);
    }
    return good && writer.endArray();
}
