/// \file NOD_InterfacePathsPrivate.h
/// Paths of scripts as a scene file has them. Not installed.
///
/// Threads:    any.
#pragma once

#include <string>

/// A script's path relative to the folder if it lies below it, else absolute; links are followed. An empty
/// folder is none.
std::string NODpathFor(const std::string &script, const std::string &folder);
/// The way back.
std::string NODpathFrom(const std::string &written, const std::string &folder);
/// Whether a file lies in the folder or below, links followed.
bool NODisBelow(const std::string &path, const std::string &folder);
/// The folder of a file.
std::string NODfolderOf(const std::string &file);
