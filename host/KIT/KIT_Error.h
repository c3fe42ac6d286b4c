/// \file KIT_Error.h
/// Reporting to the calling thread's current error manager.
///
/// Vocabulary: see KIT_ErrorManager.h.
/// Threads:    any thread; each has its own manager.
/// Cost:       reading the severity takes no lock and no heap.

#pragma once

#include <KIT/KIT_ErrorManager.h>

#include <string>

/// Add with the severity 4, 3 or 5. `text` is put into the catalogue's sentence; null means none.
KIT_API void KITaddError(const char *category, int code, const char *text = nullptr);
KIT_API void KITaddWarning(const char *category, int code, const char *text = nullptr);
KIT_API void KITaddFatal(const char *category, int code, const char *text = nullptr);
/// Add with the severity 1.
KIT_API void KITaddMessage(const char *category, int code, const char *text = nullptr);
/// Add with the severity 4 or 3 under the category "Common", with a KIT_CommonErrorCode.
KIT_API void KITaddCommonError(int code, const char *text = nullptr);
KIT_API void KITaddCommonWarning(int code, const char *text = nullptr);

/// The highest severity in the current manager; 4 or more stops a stream operation.
KIT_API KIT_ErrorSeverity KITgetErrorSeverity();

/// The system's text for `errno`; where that is 0, that the reason isn't known. So set it to 0 before.
KIT_API std::string KITsystemReason();
