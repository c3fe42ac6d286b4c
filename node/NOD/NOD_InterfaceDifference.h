/// \file NOD_InterfaceDifference.h
/// What one interface has that another one hasn't, or has otherwise: to know what is lost where a script is
/// written in another way.
///
/// Threads:    as reading the templates.
/// Errors:     each difference is a message of the severity asked for, with the parameter's token as subject.
/// Cost:       proportional to the templates and the texts.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>

class NOD_Interface;
class NOD_Report;
class ZEL_Template;

/// Parameters and folders by their tokens, items of blocks in their blocks; the order doesn't count, nor what
/// `to` has in addition. Returns how many messages there are.
NOD_API int NODcompareInterfaces(const ZEL_Template *from, const ZEL_Template *to,
                                 NOD_Report &report, KIT_ErrorSeverity severity = KIT_ERROR_ABORT);
/// The same of two scripts, and whether the first has comments, but for those that the library writes, or
/// directives such as `#include`, which no writer of parameters keeps.
NOD_API int NODcompareInterfaces(const NOD_Interface &from, const NOD_Interface &to,
                                 NOD_Report &report, KIT_ErrorSeverity severity = KIT_ERROR_ABORT);
