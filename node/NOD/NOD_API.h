/// \file NOD_API.h
/// The export mark of the node layer's classes and functions: what doesn't carry it is hidden.
#pragma once

#define NOD_API __attribute__((visibility("default")))
