/// \file ZEL_ParmTypes.h
/// The small enumerations that all value classes and their callers share.
///
/// Vocabulary: *harden* = turn a pending channel change into a key;
///             *commit* = let a channel make the key at once instead of holding the change pending.
/// Threads:    constants only.
#pragma once

/// What a setter does with a channel once the new value is on it.
enum ZEL_AddKeyType : int
{
    ZEL_ADDKEY_PENDING = 0, ///< the change stays pending on the channel
    ZEL_ADDKEY_HARDEN = 1,  ///< a key is made if the channel is pending at that time
    ZEL_ADDKEY_FORCE = 2    ///< a key is made in any case
};

/// Where the commit flag of a key comes from.
enum ZEL_KeySetType : int
{
    ZEL_KEYSET_PREFERENCE = 0, ///< always-harden flag, else the channel manager's preference
    ZEL_KEYSET_NOCOMMIT = 1,   ///< never
    ZEL_KEYSET_COMMIT = 2      ///< always
};

/// What `isDefault` asks, as a bit mask; combine by plain integer OR.
enum ZEL_DefaultType : int
{
    ZEL_DEFAULT_NONE = 0,
    ZEL_DEFAULT_UNLOCKED = 1,           ///< no lock on the component
    ZEL_DEFAULT_CURRENT = 2,            ///< equals the template's current default
    ZEL_DEFAULT_FACTORY_EXPRESSION = 4, ///< channel expression equals the factory default's
    ZEL_DEFAULT_FACTORY_VALUE = 8,      ///< equals the factory default's value
    ZEL_DEFAULT_MAGIC = 11              ///< what the magic string asks: unlocked, current, value
};

/// The state of a component's channel at a time; a list ORs those of its parameters.
enum ZEL_ChanState : int
{
    ZEL_CHAN_NONE = 0,   ///< no channel, or an index past the vector
    ZEL_CHAN_KEY = 1,    ///< a key stands at that time
    ZEL_CHAN_NOKEY = 2,  ///< a channel without a key there
    ZEL_CHAN_PENDING = 4 ///< a change is pending at that time
};

/// How an override relates to the value beneath it.
enum ZEL_OverrideType : int
{
    ZEL_OVERRIDE_OVERRIDDEN = 0, ///< replaces the value
    ZEL_OVERRIDE_LAYERED = 1     ///< is layered over the value
};

/// Codes of the message category "ZEL"; their sentences stand in the host's catalogue.
enum ZEL_ErrorCode : int
{
    ZEL_ERR_MISSING_BRACKET = 0, ///< closing "]" of a channel entry missing
    ZEL_ERR_PARM = 1,            ///< about a parameter as a whole
    ZEL_ERR_TOO_FEW_VALUES = 2,  ///< the missing components revert to their defaults
    ZEL_ERR_TOO_MANY_VALUES = 3, ///< surplus values are skipped
    ZEL_ERR_NO_CHANNEL = 4,      ///< channel not found in the collection
    ZEL_ERR_UNKNOWN_PARM = 5,    ///< parameter not found
    ZEL_ERR_UNKNOWN_TOKEN = 6,   ///< menu token not found
    ZEL_ERR_TOKEN_MISSING = 9,   ///< expected token missing
    ZEL_ERR_NULL_SOURCE = 12,    ///< copy of a null parameter (fatal)
    ZEL_ERR_NEWER_STREAM = 13,   ///< stream of a newer library
    ZEL_ERR_NO_COLLECTION = 14,  ///< channel reference without a collection
    ZEL_ERR_PRESET_HEADER = 15,  ///< preset header missing
    ZEL_ERR_PRESET_WORD = 16,    ///< a word of the preset's header is missing
    ZEL_ERR_PRESET_VERSION = 17, ///< a preset of another version
    ZEL_ERR_TIME_DEPENDENT = 18, ///< non-animatable parameter's channel is time dependent
    ZEL_ERR_TOKEN_EXISTS = 19,   ///< a multi-parameter item's token is taken
    ZEL_ERR_BASE_PARM = 20,      ///< base parameter inside a multi-parameter
    ZEL_ERR_BAD_INDEX = 21,      ///< component index invalid
    ZEL_ERR_TOO_MANY_ITEMS = 22  ///< more items than a stream or a channel may ask for
};

/// The category under which this library reports.
inline constexpr const char *ZEL_ERROR_CATEGORY = "ZEL";
