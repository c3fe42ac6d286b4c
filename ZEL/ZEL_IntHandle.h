/// \file ZEL_IntHandle.h
/// A handle of an integer: toggles, menus, buttons and other ordinals, counts of items, and integers of
/// the float kind.
///
/// Vocabulary, ownership, threads, errors, cost: as ZEL_Handle.h.
#pragma once

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_NumberHandle.h>

class ZEL_IntHandle : public ZEL_NumberHandle<ZEL_IntHandle, std::int64_t>
{
public:
    /// On no list, and not valid.
    ZEL_IntHandle() : ZEL_NumberHandle(Kind::INTEGER) {}
    /// By token, or else by channel token or alias.
    ZEL_IntHandle(ZEL_ParmList &list, std::string_view name)
        : ZEL_NumberHandle(list, name, Kind::INTEGER)
    {}

    /// Whether it isn't 0.
    bool isOn(double time) const { return (*this)(time) != 0; }
    /// The menu's token of the value; the number, where there is none.
    std::string token(double time) const
    {
        KIT_String text;
        if (const ZEL_Parm *const held = parm()) {
            constexpr bool expand = false;
            held->getValue(time, text, component(), expand, BASgetSTID());
        }
        return text.toStdString();
    }
    /// Sets an ordinal by a token of its menu. False for any other text, and for integers of the float
    /// kind.
    bool setToken(std::string_view token, ZEL_SetOptions options = {})
    {
        return setTokenAt(now(), token, options);
    }
    bool setTokenAt(double time, std::string_view token, ZEL_SetOptions options = {})
    {
        return hasToken(token) && writeText(time, token, options);
    }

private:
    /// A text that isn't in the menu would become an expression.
    bool hasToken(std::string_view token) const
    {
        const ZEL_Parm *const held = parm();
        const ZEL_ChoiceList *const menu =
            held && held->getType().isOrdinalType() ? held->getChoiceListPtr() : nullptr;
        const ZEL_Name *names = nullptr;
        if (menu) {
            constexpr bool quiet = true;
            menu->getChoiceNames(names, held->getParmOwner(), held->getSparePtr(), held, quiet);
        }
        while (names && !names->isSentinel() && names->getTokenRef().view() != token) {
            ++names;
        }
        return names && !names->isSentinel();
    }
};
