/// \file NOD_ServerFeaturesPrivate.h
/// The requests about documents, each by its subject: parameters in, result out.
///
/// Threads:    one thread at a time.
/// Errors:     a NOD_ServerError that is thrown becomes the answer.
#pragma once

#include <NOD/server/NOD_ServerJsonPrivate.h>

class NOD_ServerDocument;
class NOD_ServerPass;
class NOD_ServerWorkspace;
struct NOD_ServerClient;
struct NOD_ServerFinding;
struct NOD_ServerFix;

using NOD_ServerFeature = NOD_ServerJson(NOD_ServerWorkspace &workspace,
                                         NOD_ServerDocument &document,
                                         const NOD_ServerJson &params);

// Files NOD_ServerFormat.cpp, NOD_ServerOutline.cpp, NOD_ServerHover.cpp, NOD_ServerCompletion.cpp,
// NOD_ServerReferences.cpp, NOD_ServerRename.cpp, NOD_ServerActions.cpp.
NOD_ServerFeature NODserverFormat;
NOD_ServerFeature NODserverFormatRange;
NOD_ServerFeature NODserverOutline;
NOD_ServerFeature NODserverHover;
NOD_ServerFeature NODserverCompletion;
NOD_ServerFeature NODserverDefinition;
NOD_ServerFeature NODserverReferences;
NOD_ServerFeature NODserverRename;
NOD_ServerFeature NODserverActions;

/// The parameters of `textDocument/publishDiagnostics`; without a pass they clear what is shown.
NOD_ServerJson NODserverDiagnostics(const NOD_ServerWorkspace &workspace,
                                    const NOD_ServerDocument &document, const NOD_ServerPass *pass);
NOD_ServerJson NODserverDiagnostic(const NOD_ServerClient &client, const NOD_ServerPass &pass,
                                   NOD_ServerTextWalk &walk, const NOD_ServerFinding &finding);
NOD_ServerJson NODserverEdits(NOD_ServerTextWalk &walk, const NOD_ServerFix &fix);
/// Takes what a client says of itself in its first request.
void NODreadServerClient(NOD_ServerWorkspace &workspace, const NOD_ServerJson &params);
/// The answer to that.
NOD_ServerJson NODserverCapabilities(const NOD_ServerWorkspace &workspace);
