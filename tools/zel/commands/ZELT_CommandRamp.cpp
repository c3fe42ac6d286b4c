#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Ramp.h>
#include <NOD/NOD_RampPicture.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_RampUtils.h>

namespace
{

// -------------------------------------------------------------------- //
// JSON
// -------------------------------------------------------------------- //

ZELT_Json asJson(const ZEL_Parm &parm, const KIT_Ramp &ramp)
{
    const bool color = parm.isRampTypeColor();
    ZELT_Json out;
    out["token"] = parm.getToken();
    out["color"] = color;
    out["keys"] = ZELT_Json::array();
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        const KIT_RampNode &node = *ramp.getNode(i);
        ZELT_Json key;
        key["position"] = NODrampNumber(node.position);
        if (color) {
            key["value"] = {NODrampNumber(node.red), NODrampNumber(node.green),
                            NODrampNumber(node.blue)};
        } else {
            key["value"] = NODrampNumber(node.alpha);
        }
        key["interpolation"] = ZELgetRampInterpToken(ZELgetRampInterp(node.basis));
        out["keys"].push_back(key);
    }
    return out;
}

struct Call
{
    ZELT_NodeCall node;
    std::string token;
    std::string svg; ///< the picture to write
};

int drawRamp(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session || !session->isOneNode(messages)) {
        return 1;
    }
    const double time = session->getTime();
    const TRK_EvalContext::Scope context(BASgetSTID(), time);
    session->growBlocks(time);
    const ZEL_Parm *const parm = session->getParms().getParmPtr(call.token.c_str());
    if (!parm || !parm->isRampType()) {
        messages.error("",
                       parm ? call.token + " is no ramp" : "there is no parameter " + call.token);
        return 1;
    }
    KIT_Ramp ramp;
    ZEL_RampUtils::updateRampFromMultiParm(time, *parm, &ramp, nullptr, nullptr);
    const std::string picture = NODdrawRamp(ramp, parm->isRampTypeColor(), call.token);
    messages.takeErrors("");
    const bool inJsonFlag = options.json && call.svg == "-"; // one document
    if (messages.hasErrors() || !(inJsonFlag || ZELTwriteFile(call.svg, picture, messages))) {
        return 1;
    }
    if (options.json) {
        ZELT_Json json = asJson(*parm, ramp);
        if (inJsonFlag) {
            json["svg"] = picture;
        }
        ZELTprintJson(json);
    }
    return 0;
}

} // namespace

void ZELTaddRamp(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("ramp", "Draw a ramp: its curve or its band of colours, with its keys",
                 "zel ramp examples/shader.ds palette --values examples/shader.parms --svg out.svg",
                 drawRamp);
    ZELTaddNode(command, call.node);
    command.addOption("TOKEN", call.token, "The ramp").required();
    command.addOption("--svg", call.svg, "The picture to write; - for standard output").required();
}
