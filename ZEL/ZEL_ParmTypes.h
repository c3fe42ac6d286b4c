/// \file ZEL_ParmTypes.h
/// The small enumerations that all value classes and their callers share.
///
/// Vocabulary: *harden* = turn a pending channel change into a key;
///             *commit* = let a channel make the key at once instead of holding the change pending.
/// Threads:    constants only.
#pragma once

/// What a setter does with the component's channel after the new value is set. None of them makes a
/// channel: without one the value is stored, and there is no key (`ZEL_Parm::addChannel` makes one,
/// and so does `ZEL_FloatHandle::key`). None of them does anything either where the component has the
/// new value at that time already: to make a key there, call `ZEL_Parm::setKey`.
enum ZEL_AddKeyType : int
{
    ZEL_ADDKEY_PENDING =
        0, ///< nothing: a key if the channel commits (`ZEL_KeySetType`), else pending
    ZEL_ADDKEY_HARDEN = 1, ///< a key is made if the channel is pending at that time
    ZEL_ADDKEY_FORCE = 2   ///< a key is made, pending or not
};

/// Where the commit flag of a key comes from.
enum ZEL_KeySetType : int
{
    ZEL_KEYSET_PREFERENCE = 0, ///< always-harden flag, else the channel manager's preference
    ZEL_KEYSET_NOCOMMIT = 1,   ///< never
    ZEL_KEYSET_COMMIT = 2      ///< always
};

/// What `isDefault` tests, as a bit mask; combine by plain integer OR.
enum ZEL_DefaultType : int
{
    ZEL_DEFAULT_NONE = 0,
    ZEL_DEFAULT_UNLOCKED = 1,           ///< no lock on the component
    ZEL_DEFAULT_CURRENT = 2,            ///< equals the template's current default
    ZEL_DEFAULT_FACTORY_EXPRESSION = 4, ///< channel expression equals the factory default's
    ZEL_DEFAULT_FACTORY_VALUE = 8,      ///< equals the factory default's value
    ZEL_DEFAULT_MAGIC = 11              ///< tests of the magic string: unlocked, current, value
};

/// The state of a component's channel at a time; a list ORs those of its parameters.
enum ZEL_ChanState : int
{
    ZEL_CHAN_NONE = 0,   ///< no channel, or an index past the vector
    ZEL_CHAN_KEY = 1,    ///< there is a key at that time
    ZEL_CHAN_NOKEY = 2,  ///< a channel without a key at that time
    ZEL_CHAN_PENDING = 4 ///< a change is pending at that time
};

/// How an override relates to the value beneath it.
enum ZEL_OverrideType : int
{
    ZEL_OVERRIDE_OVERRIDDEN = 0, ///< replaces the value
    ZEL_OVERRIDE_LAYERED = 1     ///< is layered over the value
};

/// Codes of the message category "ZEL"; their texts are in KIT_Messages.def.
enum ZEL_ErrorCode : int
{
#define ZEL_MESSAGE(enumerator, number, severity, path, sentence) enumerator = number,
#include <KIT/KIT_Messages.def>
};

/// The category under which this library reports.
inline constexpr const char *ZEL_ERROR_CATEGORY = "ZEL";
