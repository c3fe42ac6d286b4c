/// \file ZEL_ValuelessInstance.h
/// The behaviour that a kind of parameter has as long as it holds no values of its own.
///
/// Vocabulary: *Base* = `ZEL_Overridable` or `ZEL_Instance`.
/// Threads:    as the base.
/// Errors:     loading skips the value group of a stream without a report, so that a stream with
///             values loads as far as options go; a stream that ends inside it fails with code 9.
#pragma once

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_Instance.h>

#include <ostream>

/// Every component reads as 0 or "", setting marks it dirty and nothing else, there is no default
/// but that, and the saved form is the option block with an empty group of values.
template <class Base>
class ZEL_ValuelessInstance : public Base
{
public:
    using Base::Base;

    void setValueToDefault(double, int, ZEL_AddKeyType) override {}
    void revertToDefault(int) override { this->setDefaultsInitFlag(true); }
    void revertToDefaults(bool deleteChannels) override
    {
        if (deleteChannels) {
            this->clearAndDestroyChannels();
        }
        this->setDefaultsInitFlag(true);
    }
    void restoreFactoryDefault(int) override {}
    void overwriteDefault(double, int) override {}
    void overwriteDefaults(double) override {}

    bool save(std::ostream &os, int binary, bool compiled) const override
    {
        if (binary != 0 || compiled) {
            KIT_Packet packet;
            this->saveBinaryOptions(classId(), packet, os);
            packet.beginWrite(os, classId(), 0);
            packet.endWrite();
        } else {
            os << '\t';
            this->saveAsciiOptions(os);
            os << "\t(\t)\n";
        }
        return KITcheckOutStream(os, saveLabel(), nullptr);
    }
    void saveCommand(std::ostream &, int, int) const override {}
    int loadCommand(int, const char *const *, int, bool, ZEL_AddKeyType, ZEL_KeySetType) override
    {
        return 0;
    }
    bool load(KIT_IStream &is) override { return is.isBinary() ? loadBinary(is) : loadAscii(is); }

    void getValue(ZEL_ParmList *, double, KIT_JSONValueMap &, int, bool, int) const override {}
    void getValue(ZEL_ParmList *, double, std::shared_ptr<const ZEL_DataItem> &value, int,
                  int) const override
    {
        value.reset();
    }
    void getValue(ZEL_ParmList *, double, KIT_String &value, int, bool, int) const override
    {
        value.harden("");
    }
    void getValue(ZEL_ParmList *, double, double &value, int, int) const override { value = 0.0; }
    void getValue(ZEL_ParmList *, double, std::int64_t &value, int, int) const override
    {
        value = 0;
    }
    void getValue(ZEL_ParmList *, double, int &value, int, int) const override { value = 0; }

    void getExpressionStringForUI(double, KIT_String &text, int, int) const override
    {
        text.harden("");
    }
    void getExpression(double, KIT_String &text, int, bool, int) const override { text.harden(""); }
    void setDefaultChannelValue(TRK_Channel *, int) override {}
    bool getMagicString(KIT_TokenString &, ZEL_ParmList *, int, double, bool, int) const override
    {
        return false;
    }
    void hardenChanges(double, int, bool, const char *, KIT_Array<TRK_ChannelRef> *) override {}

protected:
    virtual int classId() const = 0;
    virtual const char *saveLabel() const = 0;

private:
    bool loadAscii(KIT_IStream &is)
    {
        KIT_WorkBuffer word;
        unsigned mask = 0;
        is.getWord(word);
        if (word.view() == "[") {
            if (!this->loadAsciiOptions(is, mask)) {
                return missing("]");
            }
            is.getWord(word);
        }
        if (word.view() != "(") {
            return missing("(");
        }
        while (is.getString(word)) {
            if (word.view() == ")") {
                return KITgetErrorSeverity() < KIT_ERROR_ABORT;
            }
        }
        return missing(")");
    }

    bool loadBinary(KIT_IStream &is)
    {
        KIT_Packet packet;
        int readClass = 0;
        int id = 0;
        bool finished = false;
        while (!finished && packet.beginRead(is, readClass, id)) {
            finished = id == 0;
            if (readClass != classId()) {
                KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, saveLabel());
                packet.endRead();
                return false;
            }
            this->loadBinaryOption(is, short(id));
            packet.endRead();
        }
        return KITgetErrorSeverity() < KIT_ERROR_ABORT;
    }

    static bool missing(const char *token)
    {
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, token);
        return false;
    }
};
