/// \file ZEL_StringHandle.h
/// A handle of a string: texts, file paths, references to nodes, labels.
///
/// Vocabulary: as ZEL_String.h. Units, ownership, threads, errors: as ZEL_Handle.h.
/// Cost:       a read copies the text twice. `read` into a string of the caller copies it once.
#pragma once

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Handle.h>

class ZEL_StringHandle : public ZEL_HandleOf<ZEL_StringHandle>
{
public:
    /// On no list, and not valid.
    ZEL_StringHandle() : ZEL_HandleOf(Kind::STRING) {}
    /// By token, or else by channel token or alias.
    ZEL_StringHandle(ZEL_ParmList &list, std::string_view name)
        : ZEL_HandleOf(list, name, Kind::STRING)
    {}

    // ------------------------------------------------------------------ //
    /// \name Reading   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    /// The text with its variables and backticks evaluated.
    std::string operator()(double time) const
    {
        KIT_String text;
        read(time, text);
        return text.toStdString();
    }
    /// The text as it was set. With a channel, what that gives.
    std::string raw(double time) const
    {
        KIT_String text;
        readRaw(time, text);
        return text.toStdString();
    }
    void read(double time, KIT_String &out) const { readAs(time, out, true); }
    void readRaw(double time, KIT_String &out) const { readAs(time, out, false); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Setting   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    /// A text as it is; its variables and backticks are evaluated by each read. Texts end at a NUL.
    /// An expression is kept with ZEL_Expressions::REPLACE too.
    bool set(std::string_view text, ZEL_SetOptions options = {})
    {
        return setAt(now(), text, options);
    }
    bool setAt(double time, std::string_view text, ZEL_SetOptions options = {})
    {
        return writeText(time, text, options);
    }
    /// Makes a key with that text, as ZEL_FloatHandle::key does.
    bool key(double time, std::string_view text)
    {
        return makeKey(time, [&](ZEL_SetOptions options) { setAt(time, text, options); });
    }
    ///@}

private:
    void readAs(double time, KIT_String &out, bool expand) const
    {
        if (const ZEL_Parm *const held = parm()) {
            held->getValue(time, out, component(), expand, BASgetSTID());
        } else {
            out = "";
        }
    }
};
