/// \file StringFixture.h
/// One string parameter in a list with channels, variables and other nodes.
#pragma once

#include <common/ListFixture.h>

#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_ValueSource.h>
#include <ZEL/ZEL_String.h>

#include <string>

/// A node at /obj/a: knows the variable SHOT, and records the references that it is notified of.
class StringNode : public TRK_PathResolver
{
public:
    TRK_Collection *findCollection(const KIT_StringRef &path) override
    {
        return path.equals("/obj/b") || path.equals("../b") ? &myOther : nullptr;
    }
    bool getVariable(const KIT_StringRef &name, KIT_String &value) override
    {
        if (!name.equals("SHOT")) {
            return false;
        }
        value = "/show";
        return true;
    }
    void getPath(KIT_WorkBuffer &path) override { path.append("/obj/a"); }
    void referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                        const KIT_StringRef &name, int) override
    {
        references += std::to_string(from.parm) + ":" + std::to_string(from.component) + " " +
                      path.nonNullStr() + "|" + name.nonNullStr() + ";";
    }

    std::string references;

private:
    TRK_Collection myOther;
};

struct OneString : OneParm
{
    explicit OneString(const ZEL_Type &type = ZEL_STRING, int size = 1, const char *token = "p")
        : OneParm(type, size, token)
    {
        channels.setPathResolver(&node);
    }
    explicit OneString(const char *text, const ZEL_Type &type = ZEL_STRING) : OneString(type)
    {
        build();
        setText(text);
    }

    std::string read(bool expand = true, double time = 0.0, int index = 0) const
    {
        KIT_String text("untouched", true);
        instance->getValue(list.get(), time, text, index, expand, 1);
        return text.c_str() ? text.toStdString() : "(null)";
    }
    std::string raw(int index = 0) const { return read(false, 0.0, index); }
    TRK_Channel *channel(int index = 0) const { return instance->getChannel(index); }

    StringNode node;
};

struct BuiltString : OneString
{
    explicit BuiltString(const ZEL_Type &type = ZEL_STRING, int size = 1, const char *token = "p")
        : OneString(type, size, token)
    {
        build();
    }
};

inline std::string toExpression(const char *text)
{
    KIT_WorkBuffer out;
    ZEL_String::convertToExprLanguage(text, out);
    return out.buffer();
}

inline std::string fromExpression(const char *text)
{
    KIT_String out;
    ZEL_String::convertFromExprLanguage(text, out);
    return out.toStdString();
}
