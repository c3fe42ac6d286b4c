/// \file NOD_ScriptDetailPrivate.h
/// What a reader's messages of a script lack: where the mistake is that stopped it, what the message
/// is about, and what would help.
///
/// Threads:    one thread at a time.
#pragma once

#include <NOD/interface/NOD_ScriptShapePrivate.h>

#include <memory>

/// The fault of the shape that stopped the reader at a token; null if none did.
const NOD_ScriptShape::Fault *NODfindCause(const NOD_ScriptShape &shape, int token);
/// The detail of a fault.
std::shared_ptr<const KIT_MessageDetail> NODmakeDetail(const NOD_ScriptTokens &tokens,
                                                       const NOD_ScriptShape &shape,
                                                       const NOD_ScriptShape::Fault &fault);
/// Completes the detail of what the reader said at a token.
std::shared_ptr<const KIT_MessageDetail> NODcompleteDetail(const NOD_ScriptTokens &tokens,
                                                           const NOD_ScriptShape &shape, int token,
                                                           const NOD_Message &message);

/// Completes the details of a reader's messages of a whole script. `stopped` is whether the last error ended
/// the reading; so does a closing brace too many.
void NODcompleteDetails(NOD_Report &report, std::string_view text, const std::string &name,
                        NOD_Interface::Includes includes, bool stopped);
/// What has to stand before a text that is the contents of a script's braces, with a line feed at its
/// end, so that it is a script after another "}"; "" for a whole script.
std::string NODscriptHead(std::string_view text, const std::string &name);
/// The text with its head and an end, as it is with an empty head.
std::string NODwithHead(std::string_view text, const std::string &head);
/// The messages of a script with such a head, with the lines and places of the text without it. What is about the
/// head is at the beginning of the text, what is about the brace at the end at its end.
NOD_Report NODtakeHead(const NOD_Report &found, std::string_view text, const std::string &name,
                       const std::string &head);
