/// \file NOD_ServerUriPrivate.h
/// Paths of files as the protocol names them.
///
/// Threads:    any.
#pragma once

#include <string>

/// The path of a `file:` URI; "" for any other.
std::string NODserverPath(const std::string &uri);
std::string NODserverUri(const std::string &path);
