#include <ZEL/ZEL_RampTemplate.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_LostText.h>
#include <KIT/KIT_VarEncode.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/templates/ZEL_TemplatePrivate.h>

#include <memory>
#include <string_view>

namespace
{

constexpr int thePartCount = 3;

/// The parts of a key, in the order of ZEL_RampParmIndex.
struct RampTables
{
    ZEL_Name position{"#pos", "Position"};
    ZEL_Name value{"#value", "Value"};
    ZEL_Name color{"#c", "Color"};
    ZEL_Name interp{"#interp", "Interpolation"};
    ZEL_Range unit{ZEL_RANGE_HARD, 0.0, ZEL_RANGE_HARD, 1.0};

    ZEL_Template floatKey[thePartCount + 1] = {
        {ZEL_FLT, 1, &position, nullptr, nullptr, &unit},
        {ZEL_FLT, 1, &value},
        {ZEL_ORD, 1, &interp, nullptr, &zelRampInterpMenu},
        {},
    };
    ZEL_Template colorKey[thePartCount + 1] = {
        {ZEL_FLT, 1, &position, nullptr, nullptr, &unit},
        {ZEL_RGB, 3, &color},
        {ZEL_ORD, 1, &interp, nullptr, &zelRampInterpMenu},
        {},
    };
};

/// The built-in array of a ramp's kind, null for anything else. Created on first use, so that
/// templates in statics of any file may be ramps; never destroyed, so that those statics may be
/// destroyed in any order.
ZEL_Template *builtInKey(ZEL_MultiType type)
{
    static RampTables *const theTables = new RampTables;
    switch (type & ZEL_MULTITYPE_KIND_MASK) {
    case ZEL_MULTITYPE_RAMP_FLT: return theTables->floatKey;
    case ZEL_MULTITYPE_RAMP_RGB: return theTables->colorKey;
    default: return nullptr;
    }
}

const ZEL_Template *builtInPart(ZEL_MultiType type, ZEL_RampParmIndex index)
{
    const ZEL_Template *key = builtInKey(type);
    return key && index >= 0 && index < thePartCount ? key + index : nullptr;
}

/// A name owned by the copy. Without a prefix the token stays unchanged.
std::unique_ptr<ZEL_Name> makeName(const ZEL_Template &source, const KIT_WorkBuffer *prefix)
{
    const BAS_LostText lost;
    auto name = std::make_unique<ZEL_Name>();
    name->setTokenAndLabelRef(source.getTokenRef(), source.getLabelRef());
    if (prefix) {
        KIT_WorkBuffer token(*prefix);
        token.append(source.getTokenRef());
        KIT_WorkBuffer encoded;
        KIT_VarEncode::encodeParm(token.buffer(), encoded);
        name->setToken(encoded.buffer());
    }
    name->harden();
    lost.check();
    return name;
}

struct KeyDeleter
{
    void operator()(ZEL_Template *templates) const { ZELfreeRampTemplate(templates); }
};

/// Copies a part of a key, with its own name and spare data.
void copyPart(ZEL_Template &copy, const ZEL_Template &source, const KIT_WorkBuffer *prefix)
{
    auto name = makeName(source, prefix);
    copy = source;
    copy.setNamePtr(name.release());
    copy.setSparePtr(nullptr);
}

/// Gives the copy its own spare data: the source's, and the ramp's script callback.
void giveSpareData(ZEL_Template &copy, const ZEL_Template &source, const ZEL_SpareData *spare)
{
    if (source.getSparePtr()) {
        copy.getOrCreateSparePtr()->mergeFrom(*source.getSparePtr());
    }
    if (spare && spare->getCallbackData()) {
        ZEL_SpareData *own = copy.getOrCreateSparePtr();
        own->setCallbackData(spare->getCallbackData());
        own->setCallbackLanguage(spare->getCallbackLanguage());
    }
}

} // namespace

// -------------------------------------------------------------------- //
// The array of a key
// -------------------------------------------------------------------- //

ZEL_Template *ZELcreateRampTemplate(const char *token, ZEL_MultiType type,
                                    const ZEL_SpareData *spare, ZEL_Callback callback,
                                    ZEL_Template *base)
{
    const ZEL_Template *source = builtInKey(type);
    if (!source) {
        return nullptr;
    }
    KIT_WorkBuffer prefix;
    const bool prefixFlag = !base && token;
    if (base) {
        source = base;
    } else {
        ZELgetRampDecodedParmPrefix(token, prefix);
    }

    const int count = ZEL_Template::countTemplates(source);
    std::unique_ptr<ZEL_Template, KeyDeleter> templates(
        new ZEL_Template[static_cast<uint32_t>(count) + 1]);
    for (int i = 0; i < count; i++) {
        ZEL_Template &copy = templates.get()[i];
        copyPart(copy, source[i], prefixFlag ? &prefix : nullptr);
        copy.setCallback(callback);
        giveSpareData(copy, source[i], spare);
    }
    return templates.release();
}

void ZELfreeRampTemplate(ZEL_Template *templates)
{
    if (!templates) {
        return;
    }
    for (ZEL_Template *item = templates; !item->isTerminator(); item++) {
        ZEL_Name *name = item->getNamePtr();
        item->setNamePtr(nullptr);
        delete name;
        ZELfreeSpareData(item->getSparePtr());
        item->setSparePtr(nullptr);
    }
    delete[] templates;
}

int64_t ZELgetRampTemplateMemoryUsage(const ZEL_Template *templates)
{
    // A fixed allowance per template.
    constexpr int64_t theAllowance = 41;
    int64_t bytes = 0;
    for (; templates && !templates->isTerminator(); templates++) {
        bytes += templates->getMemoryUsage(true) + templates->getTokenRef().length() +
                 templates->getNamePtr()->getMemoryUsage(false) + theAllowance;
        if (templates->getSparePtr()) {
            bytes += templates->getSparePtr()->getMemoryUsage(true);
        }
    }
    return bytes;
}

// -------------------------------------------------------------------- //
// Channels
// -------------------------------------------------------------------- //

int ZELgetRampChannelCount(ZEL_MultiType type, ZEL_RampParmIndex index)
{
    const ZEL_Template *part = builtInPart(type, index);
    return part ? part->getVectorSize() : 0;
}

void ZELgetRampChannelToken(const char *token, ZEL_MultiType type, ZEL_RampParmIndex index,
                            int component, KIT_WorkBuffer &out)
{
    out.clear();
    const ZEL_Template *part = builtInPart(type, index);
    if (!part) {
        return;
    }
    KIT_WorkBuffer plain;
    ZELgetRampDecodedParmPrefix(token, plain);
    plain.append(part->getTokenRef());
    KIT_VarEncode::encodeParm(plain.buffer(), out);

    const std::string_view channel = part->getChannelToken(component).view();
    const size_t shared = part->getTokenRef().length();
    if (channel.size() > shared) {
        out.append(channel.substr(shared));
    }
}

void ZELgetRampDecodedParmPrefix(const char *token, KIT_WorkBuffer &out)
{
    out.clear();
    KIT_VarEncode::decodeParm(token, out);
    const char last = out.lastChar();
    if (last == '#' || BASisDigit(last)) {
        out.append('_');
    }
}

// -------------------------------------------------------------------- //
// Interpolation
// -------------------------------------------------------------------- //

ZEL_ChoiceList *ZELgetRampInterpMenu()
{
    return &zelRampInterpMenu;
}

const char *ZELgetRampInterpToken(ZEL_RampInterpType type)
{
    if (type < 0 || type >= zelRampInterpMenu.getStaticSize()) {
        return "";
    }
    return zelRampInterpMenu.choiceNamesPtr()[type].getToken();
}

ZEL_RampInterpType ZELgetRampInterpType(const char *token)
{
    if (!token || !*token) {
        return ZEL_RAMPINTERP_LINEAR;
    }
    const ZEL_Name *names = zelRampInterpMenu.choiceNamesPtr();
    for (int i = 0; i < zelRampInterpMenu.getStaticSize(); i++) {
        if (names[i].getTokenRef().equals(token)) {
            return ZEL_RampInterpType(i);
        }
    }
    return ZEL_RAMPINTERP_UNKNOWN;
}
