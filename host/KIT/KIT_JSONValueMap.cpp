#include <KIT/KIT_JSONValueMap.h>

#include <KIT/KIT_JSONWriter.h>

KIT_JSONValueMap::KIT_JSONValueMap() = default;
KIT_JSONValueMap::~KIT_JSONValueMap() = default;

void KIT_JSONValueMap::getKeys(KIT_Array<KIT_StringHolder> &keys) const
{
    keys.clear();
    keys.setCapacity(entries());
    for (const auto &entry : myValues) {
        keys.append(entry.first);
    }
}

const KIT_JSONValue *KIT_JSONValueMap::get(const KIT_StringRef &key) const
{
    const auto at = myValues.find(KITjsonText(key));
    return at == myValues.end() ? nullptr : &at->second;
}

void KIT_JSONValueMap::insert(const KIT_StringRef &key, KIT_JSONValue value)
{
    myValues[KITjsonText(key)] = std::move(value);
}

void KIT_JSONValueMap::clear()
{
    myValues.clear();
}

bool KIT_JSONValueMap::save(KIT_JSONWriter &writer) const
{
    bool good = writer.beginMap(entries());
    for (auto at = myValues.begin(); good && at != myValues.end(); ++at) {
        good = writer.writeKey(at->first.view()) && at->second.save(writer);
    }
    return good && writer.endMap();
}

void KIT_JSONValueMap::bumpRef(int count)
{
    const int left = myRefCount.fetch_add(count, std::memory_order_acq_rel) + count;
    if (count < 0 && left <= 0) {
        delete this;
    }
}
