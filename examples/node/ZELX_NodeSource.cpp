#include "ZELX_NodeSource.h"

#include "ZELX_Node.h"

#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Type.h>

namespace
{

bool isWhole(const ZEL_Type &type)
{
    return type.isOrdinalType() ||
           (type.isFloatType() && type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER));
}

} // namespace

ZELX_NodeSource::ZELX_NodeSource(ZELX_Node &root) : myRoot(root)
{
    SNKsetNodeSource(this);
}

ZELX_NodeSource::~ZELX_NodeSource()
{
    SNKsetNodeSource(nullptr);
}

bool ZELX_NodeSource::findNode(const char *path, const char *current, KIT_String &fullPath)
{
    ZELX_Node *const from = current ? myRoot.findNode(current) : &myRoot;
    const ZELX_Node *const node = from && path ? from->findNode(path) : nullptr;
    if (node) {
        KIT_WorkBuffer buffer;
        fullPath = node->getFullPath(buffer);
    }
    return node != nullptr;
}

bool ZELX_NodeSource::listParms(const char *node, KIT_StringArray &tokens)
{
    const ZELX_Node *const found = myRoot.findNode(node);
    if (found) {
        const ZEL_ParmList &parms = found->getParms();
        for (int i = 0; i < parms.getEntries(); ++i) {
            if (parms.getParmPtr(i)->getInstance()) {
                tokens.append(parms.getParmPtr(i)->getToken());
            }
        }
    }
    return found != nullptr;
}

bool ZELX_NodeSource::findParm(const char *node, const char *name, SNK_ParmKind &kind)
{
    const ZELX_Node *const found = myRoot.findNode(node);
    if (!found) {
        return false;
    }
    const ZEL_Parm *parm = found->getParms().getParmPtr(name);
    int index = 0;
    if (!parm) {
        parm = found->getParms().getParmPtrFromChannel(name, &index);
    }
    if (parm) {
        const ZEL_Type &type = parm->getType();
        kind = type.isStringType() ? SNK_PARM_STRING
               : isWhole(type)     ? SNK_PARM_INTEGER
                                   : SNK_PARM_FLOAT;
    }
    return parm != nullptr;
}

bool ZELX_NodeSource::evaluateNumber(const char *node, const char *name, double time, int thread,
                                     double &value, bool &timeDependent)
{
    ZELX_Node *const found = myRoot.findNode(node);
    return found && found->getChannels().evaluateReference(KIT_StringRef(), name, time, thread,
                                                           value, timeDependent);
}

bool ZELX_NodeSource::evaluateString(const char *node, const char *name, double time, int thread,
                                     KIT_String &value, bool &timeDependent)
{
    ZELX_Node *const found = myRoot.findNode(node);
    return found && found->getChannels().evaluateReferenceString(KIT_StringRef(), name, time,
                                                                 thread, value, timeDependent);
}
