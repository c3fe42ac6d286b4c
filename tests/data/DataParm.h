/// \file DataParm.h
/// One data parameter in a list with channels and an owner, and a kind of item of its own.
///
/// Vocabulary: *contents* = the items of all components: typed texts joined by "|", "-" for none.
#pragma once

#include <common/ListFixture.h>

#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Data.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <common/TestOwner.h>
#include <data/JsonText.h>
#include <persistence/StreamList.h>

#include <memory>
#include <sstream>
#include <string>

using DataItem = std::shared_ptr<const ZEL_DataItem>;

/// A kind that holds a text, with geometry's bit.
class NoteItem : public ZEL_DataItem
{
public:
    explicit NoteItem(std::string text) : myText(std::move(text)) {}

    ZEL_Type::ZEL_DataType getDataType() const override { return ZEL_Type::ZEL_DATA_GEOMETRY; }
    const char *getDataTypeToken() const override { return "test_note"; }
    bool saveAscii(std::ostream &os) const override
    {
        os << myText;
        return myText != "unsaveable";
    }
    bool saveBinary(std::ostream &os) const override { return saveAscii(os); }
    std::int64_t getMemoryUsage() const override { return 1000; }

private:
    std::string myText;
};

class NoteFactory : public ZEL_DataFactory
{
public:
    DataItem createItem() override { return std::make_shared<NoteItem>(""); }
    DataItem parseBinary(KIT_IStream &stream) override { return parseAscii(stream); }
    DataItem parseAscii(KIT_IStream &stream) override
    {
        return std::make_shared<NoteItem>(std::string(stream.rest()));
    }
};

inline DataItem makeDict(const std::string &json)
{
    KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
    return ZEL_DataFactory::parseAscii("key_value_dict", is);
}

inline std::string typedText(const DataItem &item)
{
    std::ostringstream os;
    ZEL_DataFactory::saveTypedAscii(item, os);
    return item ? os.str() : "-";
}

/// Records what it is asked: "index parm component at time;".
struct DataOwner : TestOwner
{
    ZEL_Parm *followChannelReference(int index, double time, int parmIndex, int &component) override
    {
        calls += std::to_string(index) + " " + std::to_string(parmIndex) + " " +
                 std::to_string(component) + " at " + std::to_string(int(time)) + ";";
        component = referencedComponent;
        return referencedParm;
    }

    std::string calls;
};

struct OneData : OneParm
{
    explicit OneData(int size = 1, const ZEL_Type &type = ZEL_KEY_VALUE_DICT) : OneParm(type, size)
    {
        static NoteFactory theNotes;
        ZEL_DataFactory::install("test_note", &theNotes);
        build(&owner);
    }
    ~OneData() { list.reset(); }

    ZEL_Data &data() { return dynamic_cast<ZEL_Data &>(*instance); }
    void setDict(const char *json, int index = 0) { data().setData(makeDict(json), 0.0, index); }
    DataItem item(int index = 0, double time = 0.0) const
    {
        DataItem value = makeDict("{}");
        instance->getValue(list.get(), time, value, index, 1);
        return value;
    }
    std::string contents()
    {
        std::string all;
        for (int i = 0; i < instance->getVectorSize(); ++i) {
            all += (i ? "|" : "") + typedText(data().getData(0.0, i));
        }
        return all;
    }
    std::string text(int index = 0) const
    {
        KIT_String value("untouched", true);
        instance->getValue(list.get(), 0.0, value, index, true, 1);
        return value.toStdString();
    }
    std::string map(bool expand, int index = 0, double time = 0.0) const
    {
        KIT_JSONValueMap value;
        value.insert("left", KIT_JSONValue("over"));
        instance->getValue(list.get(), time, value, index, expand, 1);
        KIT_WorkBuffer out;
        value.save(*KIT_JSONWriter::allocWriter(out, false));
        return std::string(out.view());
    }

    DataOwner owner;
};
