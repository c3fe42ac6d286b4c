/// \file ListFixture.h
/// A list over a few templates with its own channels, for tests of values and streams.
#pragma once

#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

/// A template with its own name, defaults and range, so that tests don't share changed ones.
struct OwnedTemplate
{
    OwnedTemplate(const ZEL_Type &type, int size, const char *token)
        : entry(type, size, &name, defaults, nullptr, nullptr)
    {
        name.setTokenAndLabel(token, token);
    }

    ZEL_Name name;
    ZEL_Default defaults[8];
    ZEL_Range range;
    ZEL_Template entry;
};

/// Takes the messages that the thread's error manager holds, as "ZEL 2; Common 7", or with texts.
inline std::string takeMessages(bool withTexts = false)
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    std::string text;
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &error = manager.getError(i);
        text += (text.empty() ? "" : "; ") + error.category + " " + std::to_string(error.code);
        text += withTexts && !error.text.empty() ? " " + error.text : "";
    }
    manager.clearAndDestroyErrors();
    return text;
}

/// Restores what a test changes in the channel manager.
struct ManagerSettings
{
    ~ManagerSettings()
    {
        TRK_Manager::getContext().setCommitPreference(true);
        TRK_Manager::getContext().setTupleKeying(false);
        TRK_Manager::getContext().setCurrentTime(0.0);
    }
};

/// One parameter "p" in a list with a collection.
struct OneParm
{
    OneParm(const ZEL_Type &type, int size, const char *token = "p")
        : description(type, size, token)
    {
        takeMessages();
    }

    /// Call when the description is complete.
    void build(ZEL_ParmOwner *owner = nullptr, bool withChannels = true)
    {
        templates[0] = description.entry;
        list.reset(new ZEL_ParmList(templates, withChannels ? &channels : nullptr, owner, nullptr,
                                    "", false));
        if (owner) {
            owner->setParmList(list.get());
        }
        parm = list->getParmPtr(0);
        instance = parm->getInstance();
    }

    double eval(int index = 0, double time = 0.0) const
    {
        double value = -999.0;
        instance->getValue(list.get(), time, value, index, 1);
        return value;
    }
    void set(double value, int index = 0, double time = 0.0,
             ZEL_AddKeyType addKey = ZEL_ADDKEY_PENDING)
    {
        instance->setValue(time, value, false, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
    void setInteger(std::int64_t value, int index = 0, double time = 0.0,
                    ZEL_AddKeyType addKey = ZEL_ADDKEY_PENDING, bool replace = false)
    {
        instance->setValue(time, value, replace, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
    void setText(const char *text, int index = 0, TRK_StringMeaning meaning = TRK_MEANING_LITERAL,
                 double time = 0.0, ZEL_AddKeyType addKey = ZEL_ADDKEY_PENDING)
    {
        instance->setValue(time, text, meaning, false, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
    std::string text(int index = 0, double time = 0.0) const
    {
        KIT_String result;
        instance->getValue(list.get(), time, result, index, true, 1);
        return result.toStdString();
    }
    std::string expression(int index = 0, double time = 0.0) const
    {
        KIT_String result;
        instance->getExpression(time, result, index, false, 1);
        return result.toStdString();
    }
    TRK_Channel *animate(const char *expression, int index = 0)
    {
        instance->setExpression(0.0, expression, TRK_LANGUAGE_NATIVE, index, true, false);
        return instance->getChannel(index);
    }
    std::string saved(bool binary = false) const
    {
        std::stringstream os;
        instance->save(os, binary ? 1 : 0, false);
        return os.str();
    }
    bool load(const std::string &data, bool binary = false)
    {
        KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        return instance->load(is);
    }
    std::string savedCommand(int values, int index = -1) const
    {
        std::ostringstream os;
        instance->saveCommand(os, values, index);
        return os.str();
    }
    int loadCommand(const std::vector<const char *> &arguments, bool asSet, int index = -1)
    {
        return instance->loadCommand(int(arguments.size()), arguments.data(), index, asSet,
                                     ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    }

    OwnedTemplate description;
    ZEL_Template templates[2];
    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;
    ZEL_Parm *parm = nullptr;
    ZEL_Instance *instance = nullptr;
};

/// One that is built at once, since its description is complete.
struct BuiltParm : OneParm
{
    BuiltParm(const ZEL_Type &type, int size, const char *token = "p") : OneParm(type, size, token)
    {
        build();
    }
};
