/// \file BenchScene.h
/// The scene of the measurements: names, values, and lists of 100 parameters that have them.
///
/// Vocabulary: *set* = one of two sets of values, 0 and 1; *float* lists have numbers only, *mixed* ones 60
///             numbers, 20 vectors of three and 20 texts. Half of the numbers have two decimals.
#pragma once

#include "BenchSink.h"

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace bench
{

using Triple = std::array<double, 3>;
using Value = std::variant<double, Triple, std::string>;
constexpr int theParms = 100;

enum class Lists
{
    FLOAT,
    MIXED
};
enum class Form
{
    TEXT,
    BINARY
};
enum class Target
{
    STANDING,
    MADE
};

inline void require(bool flag, const char *what)
{
    if (!flag) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// -------------------------------------------------------------------------- //
// Names and values
// -------------------------------------------------------------------------- //

inline const std::vector<std::string> &names()
{
    static const std::vector<std::string> theNames = [] {
        std::vector<std::string> made;
        for (const char *part : {"diffuse", "reflection", "refraction", "volume", "glow", "fur",
                                 "bump", "shadow", "displacement", "lens"}) {
            for (const char *what : {"gain", "hue", "spread", "twist", "angle", "bias", "size",
                                     "shift", "falloff", "map"}) {
                made.push_back(std::string(part) + "_" + what);
            }
        }
        return made;
    }();
    return theNames;
}

inline const std::string &nameOf(int parm)
{
    return names()[std::size_t(parm)];
}

/// Which value of the variant a parameter of a mixed list has.
inline std::size_t kindOf(int parm)
{
    return parm % 5 == 3 ? 1 : parm % 5 == 4 ? 2 : 0;
}

inline std::uint64_t bitsOf(int set, int list, int parm, int component)
{
    std::uint64_t bits = std::uint64_t(list) * theParms + std::uint64_t(parm);
    bits = (bits * 3 + std::uint64_t(component)) * 2 + std::uint64_t(set) + 1;
    bits = (bits ^ (bits >> 33)) * 0xff51afd7ed558ccdULL;
    bits = (bits ^ (bits >> 33)) * 0xc4ceb9fe1a85ec53ULL;
    return bits ^ (bits >> 33);
}

inline double numberOf(int set, int list, int parm, int component = 0)
{
    const std::uint64_t bits = bitsOf(set, list, parm, component);
    return parm % 2 ? (double(bits % 200001) - 100000.0) / 100.0
                    : double(bits >> 11) * 0x1p-53 * 2000.0 - 1000.0;
}

inline Value valueOf(int set, int list, int parm)
{
    if (kindOf(parm) == 0) {
        return numberOf(set, list, parm);
    }
    if (kindOf(parm) == 1) {
        return Triple{numberOf(set, list, parm, 0), numberOf(set, list, parm, 1),
                      numberOf(set, list, parm, 2)};
    }
    static const char *const theWords[] = {"oak", "slate", "copper", "linen"};
    const std::uint64_t bits = bitsOf(set, list, parm, 0);
    const std::string word = theWords[bits % 4] + std::to_string(bits / 4 % 1000);
    return parm % 2 ? word : "scene/maps/" + word + "_diffuse.tif";
}

inline Value defaultOf(Lists lists, int parm)
{
    static const Value theDefaults[] = {0.0, Triple{}, std::string()};
    return theDefaults[lists == Lists::FLOAT ? 0 : kindOf(parm)];
}

/// Requires that `found(list, parm)` is each value of the set.
template <class FOUND>
inline void requireAll(int set, int size, const char *what, const FOUND &found)
{
    for (int l = 0; l < size; ++l) {
        for (int p = 0; p < theParms; ++p) {
            require(found(l, p) == valueOf(set, l, p), what);
        }
    }
}

// -------------------------------------------------------------------------- //
// The lists
// -------------------------------------------------------------------------- //

using ListVector = std::vector<std::unique_ptr<ZEL_ParmList>>;

inline std::vector<ZEL_Template> makeTemplates(Lists lists)
{
    static std::vector<ZEL_Name> theNames = [] {
        std::vector<ZEL_Name> made;
        for (const std::string &name : names()) {
            made.emplace_back(name.c_str(), name.c_str());
        }
        return made;
    }();
    std::vector<ZEL_Template> made;
    for (int p = 0; p < theParms; ++p) {
        const std::size_t kind = lists == Lists::FLOAT ? 0 : kindOf(p);
        made.emplace_back(kind == 0   ? ZEL_FLT
                          : kind == 1 ? ZEL_XYZ
                                      : ZEL_STRING,
                          kind == 1 ? 3 : 1, &theNames[std::size_t(p)]);
    }
    made.emplace_back();
    return made;
}

inline std::unique_ptr<ZEL_ParmList> makeList(Lists lists, ZEL_ParmOwner *owner = nullptr)
{
    static std::vector<ZEL_Template> theTemplates[] = {makeTemplates(Lists::FLOAT),
                                                       makeTemplates(Lists::MIXED)};
    const char *const typeName = lists == Lists::FLOAT ? "bench_float" : "bench_mixed";
    return std::make_unique<ZEL_ParmList>(theTemplates[int(lists)].data(), nullptr, owner, nullptr,
                                          typeName, false);
}

inline ListVector makeLists(Lists lists, int count)
{
    ListVector made;
    made.reserve(std::size_t(count));
    for (int l = 0; l < count; ++l) {
        made.push_back(makeList(lists));
    }
    return made;
}

inline void setValue(ZEL_ParmList &list, int parm, const Value &value)
{
    const char *const name = nameOf(parm).c_str();
    if (const auto *text = std::get_if<std::string>(&value)) {
        list.setString(KIT_String(text->c_str()), TRK_MEANING_LITERAL, name, 0, 0.0, false);
    } else if (const auto *triple = std::get_if<Triple>(&value)) {
        for (int c = 0; c < 3; ++c) {
            list.setFloat((*triple)[std::size_t(c)], name, c, 0.0, false);
        }
    } else {
        list.setFloat(std::get<double>(value), name, 0, 0.0, false);
    }
}

inline Value getValue(const ZEL_ParmList &list, int parm)
{
    const char *const name = nameOf(parm).c_str();
    if (kindOf(parm) == 2) {
        KIT_String text;
        list.evalStringRaw(text, name, 0, 0.0);
        return std::string(text.c_str());
    }
    const auto number = [&](int component) { return list.evalFloat(name, component, 0.0); };
    if (kindOf(parm) == 1) {
        return Triple{number(0), number(1), number(2)};
    }
    return number(0);
}

inline void saveAll(const ListVector &lists, Form form, std::string &out)
{
    out.clear();
    BenchSink sink(out);
    std::ostream os(&sink);
    for (const auto &list : lists) {
        list->save(os, form == Form::BINARY, false);
    }
}

inline void loadAll(const ListVector &lists, Form form, const std::string &bytes)
{
    KIT_IStream is(bytes.data(), bytes.size(),
                   form == Form::BINARY ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    for (const auto &list : lists) {
        require(list->load(is, nullptr, nullptr), "a list does not load");
    }
}

} // namespace bench
