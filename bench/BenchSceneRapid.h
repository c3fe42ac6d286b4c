/// \file BenchSceneRapid.h
/// The scene of the measurements in RapidJSON, with the processor's text instructions.
#pragma once

#include "BenchScene.h"

#if defined(__SSE4_2__)
#define RAPIDJSON_SSE42
#elif defined(__SSE2__)
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace bench
{

using RapidPool = rapidjson::MemoryPoolAllocator<>;

inline rapidjson::Value rapidText(const std::string &text, RapidPool &pool)
{
    return rapidjson::Value(text.c_str(), rapidjson::SizeType(text.size()), pool);
}

inline void rapidAdd(rapidjson::Value &object, int parm, const Value &value, RapidPool &pool)
{
    rapidjson::Value made;
    if (const auto *text = std::get_if<std::string>(&value)) {
        made = rapidText(*text, pool);
    } else if (const auto *triple = std::get_if<Triple>(&value)) {
        made.SetArray();
        for (const double number : *triple) {
            made.PushBack(number, pool);
        }
    } else {
        made.SetDouble(std::get<double>(value));
    }
    object.AddMember(rapidText(nameOf(parm), pool), made, pool);
}

inline Value rapidGet(const rapidjson::Value &value)
{
    if (value.IsArray()) {
        return Triple{value[0].GetDouble(), value[1].GetDouble(), value[2].GetDouble()};
    }
    return value.IsString() ? Value(std::string(value.GetString())) : Value(value.GetDouble());
}

/// Copies with one pool for all.
struct RapidStore
{
    explicit RapidStore(Lists lists)
    {
        object.SetObject();
        for (int p = 0; p < theParms; ++p) {
            rapidAdd(object, p, defaultOf(lists, p), object.GetAllocator());
        }
    }
    void make(int count)
    {
        pool = std::make_unique<RapidPool>();
        made.reserve(std::size_t(count));
        for (int i = 0; i < count; ++i) {
            made.emplace_back(object, *pool);
        }
    }
    void clear()
    {
        made.clear();
        pool.reset();
    }

    rapidjson::Document object;
    std::unique_ptr<RapidPool> pool;
    std::vector<rapidjson::Value> made;
};

/// The scene as one document, saved as text.
struct Rapid
{
    explicit Rapid(int count) : size(count)
    {
        for (const int set : {1, 0}) {
            scene = std::make_unique<rapidjson::Document>();
            scene->SetArray();
            for (int l = 0; l < size; ++l) {
                rapidjson::Value object(rapidjson::kObjectType);
                for (int p = 0; p < theParms; ++p) {
                    rapidAdd(object, p, valueOf(set, l, p), scene->GetAllocator());
                }
                scene->PushBack(object, scene->GetAllocator());
            }
            save();
            saved[set].assign(out.GetString(), out.GetSize());
        }
    }
    std::size_t save()
    {
        out.Clear();
        rapidjson::Writer<rapidjson::StringBuffer> writer(out);
        scene->Accept(writer);
        return out.GetSize();
    }
    void load(int set, Target)
    {
        loaded = std::make_unique<rapidjson::Document>();
        loaded->Parse<rapidjson::kParseFullPrecisionFlag>(saved[set].data(), saved[set].size());
    }
    void check(int set)
    {
        require(!loaded->HasParseError() && int(loaded->Size()) == size, "a document is cut");
        requireAll(set, size, "a value of a document differs", [&](int l, int p) {
            return rapidGet(((*loaded)[rapidjson::SizeType(l)].MemberBegin() + p)->value);
        });
        loaded.reset();
    }

    int size;
    std::unique_ptr<rapidjson::Document> scene, loaded;
    rapidjson::StringBuffer out;
    std::string saved[2];
};

} // namespace bench
