/// \file InstanceRig.h
/// One parameter with an instance of its own beside it, for the tests of instances.
#pragma once

#include <common/ListFixture.h>

#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_SpareData.h>

#include <memory>
#include <sstream>
#include <string>

/// An instance of its own beside the list's, with the operations that only value classes see.
class Probe : public ZEL_Float
{
public:
    Probe(ZEL_Template *templatePtr, ZEL_Parm *parm) : ZEL_Float(templatePtr, parm) {}
    using ZEL_Instance::linkChannel;
    using ZEL_Instance::loadAsciiOptions;
    using ZEL_Instance::loadBinaryOption;
    using ZEL_Instance::loadTokenAsChannelNameOrExpression;
    using ZEL_Instance::saveAsciiOptions;
    using ZEL_Instance::saveBinaryOptions;
    using ZEL_Overridable::evalOverrideValue;
    using ZEL_Overridable::getExpressionOverride;
    using ZEL_Overridable::saveCommandOverride;
    using ZEL_Overridable::setOverrideFloat;
    using ZEL_Overridable::setOverrideInt;
    using ZEL_Overridable::setOverrideString;

    std::string options() const
    {
        std::ostringstream os;
        saveAsciiOptions(os);
        return os.str();
    }
    /// Reads what follows "[".
    bool loadOptions(const std::string &text, unsigned &mask)
    {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        return loadAsciiOptions(is, mask);
    }
    bool loadPacket(short id, const std::string &payload)
    {
        KIT_IStream is(payload.data(), payload.size(), KIT_IStream::BINARY);
        return loadBinaryOption(is, id);
    }
};

/// A probe on a list's only parameter, with or without owner and collection.
struct Rig : OneParm
{
    explicit Rig(int size, const ZEL_Type &type = ZEL_FLT, const char *token = "p",
                 ZEL_SpareData *spare = nullptr)
        : OneParm(type, size, token)
    {
        description.entry = ZEL_Template(type, size, &description.name, description.defaults,
                                         nullptr, nullptr, ZEL_Callback(), spare);
    }
    ~Rig() { probe.reset(); }

    Rig &build(ZEL_ParmOwner *owner = nullptr, bool withChannels = true)
    {
        OneParm::build(owner, withChannels);
        probe.reset(new Probe(&templates[0], parm));
        return *this;
    }

    std::string channelNames() const
    {
        std::string names;
        for (int i = 0; i < channels.entries(); ++i) {
            names += (i ? " " : "") + std::string(channels.getChannel(i)->getName().c_str());
        }
        return names;
    }

    std::unique_ptr<Probe> probe;
};

inline std::string pathOf(const ZEL_Instance &instance)
{
    KIT_WorkBuffer path;
    instance.getFullParmPath(path);
    return path.buffer();
}
