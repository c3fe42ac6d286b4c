/// \file NOD_SoundPartPrivate.h
/// Judges what is left of a script that can't be read: itself without the statements that are at fault.
///
/// Threads:    as NODcheckDescription().
/// Cost:       of reading the script a few times.
///
/// What may follow from a statement that is left out isn't told: nothing of a parameter that lost more than words
/// for people, and of no name that isn't there where names may have been lost.
#pragma once

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>

#include <string>
#include <string_view>

/// Adds what NODcheckDescription() says of the sound part, with places in the whole script. `mistakes` are
/// all that were found when it was read. Adds nothing if no part can be read by itself.
void NODcheckSoundPart(std::string_view text, const std::string &name,
                       NOD_Interface::Includes includes, const NOD_Report &mistakes,
                       NOD_Report &report);
