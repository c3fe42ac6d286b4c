/// \file MenuScene.h
/// Nodes for tests of menus: lists with an owner that has a command language and serves Python.
///
/// Threads:    menus may be requested from any thread once a scene is built.
#pragma once

#include <KIT/KIT_StringArray.h>
#include <SNK/SNK_NodeSource.h>
#include <SNK/SNK_Python.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <common/TestOwner.h>
#include <multi/MultiList.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>

/// A menu as one line: `a=A b=B`, "(null)" for none.
template <class Entry>
std::string entriesText(const Entry *entries)
{
    if (!entries) {
        return "(null)";
    }
    std::string text;
    for (; !entries->isSentinel(); ++entries) {
        text += (text.empty() ? "" : " ") + std::string(entries->getToken()) + "=" +
                entries->getLabel();
    }
    return text;
}

inline std::string namesOf(const ZEL_ChoiceList &menu, const ZEL_Parm *parm = nullptr,
                           bool quiet = false)
{
    const ZEL_Name *names = nullptr;
    menu.getChoiceNames(names, nullptr, nullptr, parm, quiet);
    return entriesText(names);
}

inline std::string itemsOf(const ZEL_ChoiceList &menu)
{
    const ZEL_Item *items = nullptr;
    menu.getChoiceItems(items, nullptr, nullptr, nullptr, false);
    return entriesText(items);
}

inline ZEL_ChoiceList pythonMenu(const std::string &script)
{
    return ZEL_ChoiceList(ZEL_CHOICELIST_REPLACE, script.c_str(), TRK_SCRIPT_PYTHON);
}

/// The text of tokenFromIndex, with "!" in front when it returns false.
inline std::string tokenOf(const ZEL_ChoiceList &menu, std::int64_t index,
                           const ZEL_Parm *parm = nullptr)
{
    KIT_String token;
    const bool found = menu.tokenFromIndex(token, index, nullptr, nullptr, parm);
    return (found ? "" : "!") + token.toStdString();
}

/// Its command language prints the script, or what `command` makes of it.
class MenuOwner : public TestOwner
{
public:
    explicit MenuOwner(const char *path) : TestOwner(path), myPath(path) {}

    std::function<std::string(const char *script)> command;
    std::atomic<int> runs{0};

    bool runMenuScript(const char *script, std::ostream &out, std::ostream &err) override
    {
        ++runs;
        err << "never seen";
        out << (command ? command(script) : script);
        return err.good();
    }
    void pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope) override
    {
        scope = std::make_unique<Context>(myPath.c_str());
    }

private:
    struct Context : ZEL_ParmOwnerContext
    {
        explicit Context(const char *path) : node(path) {}
        SNK_CurrentNode node;
    };

    std::string myPath;
};

/// A node with the parameters `menu` (a text, "The Menu"), `n` (0.5), `count` (3) and whatever a
/// test adds before it is built.
struct MenuNode : MultiList
{
    explicit MenuNode(const char *path = "/obj/test") : menuOwner(path)
    {
        menuText.set(0.0, "picked", TRK_MEANING_LITERAL);
        top.add(ZEL_STRING, 1, "menu", "The Menu", &menuText);
        top.add(ZEL_FLT, 1, "n", "N", &half);
        top.add(ZEL_INT, 1, "count", "Count", &three);
    }
    ~MenuNode() { list.reset(); } // it notifies its owner that parameters are removed
    void buildNode() { buildTop(&menuOwner); }

    ZEL_Default menuText;
    ZEL_Default half{0.5};
    ZEL_Default three{3.0};
    MenuOwner menuOwner;
};

/// The nodes of a test, served to Python while it lives.
class MenuNodes : public SNK_NodeSource
{
public:
    MenuNodes() { SNKsetNodeSource(this); }
    ~MenuNodes() override { SNKsetNodeSource(nullptr); }

    void add(const std::string &path, MenuNode &node) { myNodes[path] = &node; }
    /// Called before each evaluation, on the thread that evaluates.
    std::function<void(const std::string &name)> evaluated;

    bool findNode(const char *path, const char *current, KIT_String &fullPath) override
    {
        const std::string wanted = path;
        const std::string from = current ? current : "";
        const std::string full = wanted == "."                 ? from
                                 : wanted.rfind("../", 0) == 0 ? parent(from) + wanted.substr(2)
                                                               : wanted;
        fullPath = full;
        return myNodes.count(full) != 0;
    }
    bool listParms(const char *node, KIT_StringArray &tokens) override
    {
        const ZEL_ParmList &list = *myNodes.at(node)->list;
        for (int i = 0; i < list.getEntries(); ++i) {
            tokens.append(list.getParmPtr(i)->getToken());
        }
        return true;
    }
    bool findParm(const char *node, const char *name, SNK_ParmKind &kind) override
    {
        const ZEL_Parm *parm = myNodes.at(node)->list->getParmPtr(name);
        const ZEL_Type *type = parm ? &parm->getTemplatePtr()->getType() : nullptr;
        kind = !type                   ? SNK_PARM_FLOAT
               : type->isStringType()  ? SNK_PARM_STRING
               : *type == ZEL_INT      ? SNK_PARM_INTEGER
               : type->isOrdinalType() ? SNK_PARM_INTEGER
                                       : SNK_PARM_FLOAT;
        return parm != nullptr;
    }
    bool evaluateNumber(const char *node, const char *name, double time, int thread, double &value,
                        bool &timeDependent) override
    {
        note(name);
        return myNodes.at(node)->channels.evaluateReference(KIT_StringRef(), name, time, thread,
                                                            value, timeDependent);
    }
    bool evaluateString(const char *node, const char *name, double time, int thread,
                        KIT_String &value, bool &timeDependent) override
    {
        note(name);
        return myNodes.at(node)->channels.evaluateReferenceString(KIT_StringRef(), name, time,
                                                                  thread, value, timeDependent);
    }
    bool setNumber(const char *node, const char *name, double time, double value) override
    {
        ZEL_Parm *parm = myNodes.at(node)->list->getParmPtr(name);
        return parm && parm->setValue(time, value, false, 0, ZEL_ADDKEY_PENDING, false) != 0;
    }
    bool setString(const char *node, const char *name, double time, const char *value) override
    {
        ZEL_ParmList &list = *myNodes.at(node)->list;
        list.setString(KIT_String(value), TRK_MEANING_LITERAL, name, 0, time, false);
        return list.getParmPtr(name) != nullptr;
    }

private:
    static std::string parent(const std::string &path) { return path.substr(0, path.rfind('/')); }
    void note(const char *name)
    {
        if (evaluated) {
            evaluated(name);
        }
    }

    std::map<std::string, MenuNode *> myNodes;
};

/// Collects tracebacks while it lives.
class Tracebacks
{
public:
    Tracebacks() { SNKsetTracebackHandler(receive, this); }
    ~Tracebacks() { SNKsetTracebackHandler(nullptr, nullptr); }
    Tracebacks(const Tracebacks &) = delete;
    Tracebacks &operator=(const Tracebacks &) = delete;

    /// Header and detail of each since the last call, with "|" between.
    std::string take()
    {
        const std::lock_guard<std::mutex> lock(myLock);
        std::string text;
        text.swap(myText);
        return text;
    }

private:
    static void receive(void *data, const char *header, const char *detail)
    {
        Tracebacks &self = *static_cast<Tracebacks *>(data);
        const std::lock_guard<std::mutex> lock(self.myLock);
        self.myText += std::string(header) + "|" + detail;
    }

    std::mutex myLock;
    std::string myText;
};
