/// \file DS_HandleBinding.h
/// What ties a viewport handle to a channel of the dialog; a record of the script writer.
/// The setters are for applications whose DS_ParmReader fills its records piece by piece.
///
/// Ownership:  owns copies of its texts.
/// Threads:    const calls from any thread.
/// Errors:     none. A text that was never set, or set to null, is "".

#pragma once

#include <KIT/KIT_StringHolder.h>

class DS_HandleBinding
{
public:
    DS_HandleBinding() = default;
    DS_HandleBinding(const char *channelName, const char *type, const char *label, const char *desc,
                     const char *defaultSettings)
        : myChannelName(channelName), myType(type), myLabel(label), myDesc(desc),
          myDefaultSettings(defaultSettings)
    {}

    /// The channel that the handle drives.
    const char *getChannelName() const { return myChannelName.nonNullStr(); }
    void setChannelName(const char *text) { myChannelName = text; }
    /// The kind of handle.
    const char *getType() const { return myType.nonNullStr(); }
    void setType(const char *text) { myType = text; }
    /// What the interface calls it.
    const char *getLabel() const { return myLabel.nonNullStr(); }
    void setLabel(const char *text) { myLabel = text; }
    /// The token of the part of the handle.
    const char *getDesc() const { return myDesc.nonNullStr(); }
    void setDesc(const char *text) { myDesc = text; }
    /// The settings that the handle starts with.
    const char *getDefaultSettings() const { return myDefaultSettings.nonNullStr(); }
    void setDefaultSettings(const char *text) { myDefaultSettings = text; }

private:
    KIT_StringHolder myChannelName;
    KIT_StringHolder myType;
    KIT_StringHolder myLabel;
    KIT_StringHolder myDesc;
    KIT_StringHolder myDefaultSettings;
};
