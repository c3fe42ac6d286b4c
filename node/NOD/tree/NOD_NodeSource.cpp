#include <NOD/NOD_NodeSource.h>

#include <NOD/NOD_Node.h>

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

NOD_NodeSource::NOD_NodeSource(NOD_Node &root) : myRoot(root)
{
    SNKsetNodeSource(this);
}

NOD_NodeSource::~NOD_NodeSource()
{
    SNKsetNodeSource(nullptr);
}

bool NOD_NodeSource::findNode(const char *path, const char *current, KIT_String &fullPath)
{
    NOD_Node *const from = current ? myRoot.findNode(current) : &myRoot;
    const NOD_Node *const node = from && path ? from->findNode(path) : nullptr;
    if (node) {
        KIT_WorkBuffer buffer;
        fullPath = node->getFullPath(buffer);
    }
    return node != nullptr;
}

bool NOD_NodeSource::listParms(const char *node, KIT_StringArray &tokens)
{
    const NOD_Node *const found = myRoot.findNode(node);
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

bool NOD_NodeSource::findParm(const char *node, const char *name, SNK_ParmKind &kind)
{
    const NOD_Node *const found = myRoot.findNode(node);
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

bool NOD_NodeSource::evaluateNumber(const char *node, const char *name, double time, int thread,
                                    double &value, bool &timeDependent)
{
    NOD_Node *const found = myRoot.findNode(node);
    return found && found->getChannels().evaluateReference(KIT_StringRef(), name, time, thread,
                                                           value, timeDependent);
}

bool NOD_NodeSource::evaluateString(const char *node, const char *name, double time, int thread,
                                    KIT_String &value, bool &timeDependent)
{
    NOD_Node *const found = myRoot.findNode(node);
    return found && found->getChannels().evaluateReferenceString(KIT_StringRef(), name, time,
                                                                 thread, value, timeDependent);
}
