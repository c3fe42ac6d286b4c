// What the tests of dialog commands share: a command read from a text, its messages, and its settings as
// text.
#pragma once

#include <BAS/BAS_Thread.h>
#include <DS/DS_Command.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <scripts/DialogText.h>

#include <memory>
#include <string>

struct Command
{
    explicit Command(const std::string &text, const char *file = "tools")
        : command(std::make_unique<DS_Command>(file))
    {
        KIT_IStream memory(text.data(), text.size(), KIT_IStream::TEXT);
        DS_Stream stream(memory, "s", true);
        testing::internal::CaptureStderr();
        okFlag = command->parse(stream) != 0;
        messages = shortMessages(testing::internal::GetCapturedStderr());
    }

    ZEL_Parm &parm(const char *token)
    {
        ZEL_Parm *const found = command->getParmList()->getParmPtr(token);
        EXPECT_TRUE(found) << token;
        return *found;
    }
    int number(const char *token)
    {
        int value = -1;
        parm(token).getValue(0.0, value, 0, BASgetSTID());
        return value;
    }
    void setNumber(const char *token, int value)
    {
        parm(token).setValue(0.0, value, true, 0, ZEL_ADDKEY_PENDING, true);
    }
    std::string text(const char *token, int component = 0)
    {
        KIT_String value;
        parm(token).getValue(0.0, value, component, false, BASgetSTID());
        return value.toStdString();
    }
    void setText(const char *token, const char *value, int component = 0)
    {
        parm(token).setValue(0.0, value, TRK_MEANING_LITERAL, true, component, ZEL_ADDKEY_PENDING,
                             true);
    }
    std::string line()
    {
        KIT_String result;
        command->getCommand(result);
        return result.toStdString();
    }
    /// The line that results from this one.
    std::string after(const std::string &line)
    {
        command->setCommand(line.c_str());
        return this->line();
    }
    /// What setting this line loses, "; " between the sentences.
    std::string lossesOf(const std::string &line)
    {
        KIT_StringArray losses;
        KIT_String all;
        command->setCommand(line.c_str(), &losses);
        losses.join("; ", all);
        return all.toStdString();
    }
    /// "token type..." of each template, "; " between them.
    std::string dump() const
    {
        std::string all;
        for (const ZEL_Template *at = command->getTemplateList(); at && !at->isTerminator(); ++at) {
            all += (all.empty() ? "" : "; ") + templateText(*at);
        }
        return all;
    }

    std::unique_ptr<DS_Command> command;
    bool okFlag = false;
    std::string messages;
};
