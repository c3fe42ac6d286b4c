// Every shared object by its name, as a program outside of the library uses it: all of them must be
// exported, and be apart from each other.
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_DialogScript.h>
#include <ZEL/ZEL_ImageNames.h>
#include <ZEL/ZEL_MenuBuilders.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_SharedDefaults.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SharedNames.h>
#include <ZEL/ZEL_SharedRanges.h>
#include <cstddef>
#include <cstdio>
#include <set>

// clang-format off
static ZEL_Name *const theNames[] = {
    ZELinputLabelNames, &ZELAlternatingTrianglesName, &ZELCapFacetedName, &ZELCapRoundedName,
    &ZELCapSharedName, &ZELCapTangentialName, &ZELInheritConnectivityName, &ZELNoCapName,
    &ZELQuadrilateralsName, &ZELReverseTrianglesName, &ZELTrianglesName, &ZELaccurateName,
    &ZELaddPointName, &ZELaddToGrpName, &ZELaddToSelName, &ZELaffectednmlsName, &ZELaffectorName,
    &ZELampName, &ZELangleName, &ZELangleStepDisplayName, &ZELangleStepName, &ZELarcAngleName,
    &ZELarcLenName, &ZELarcTypeName, &ZELaxisName, &ZELbackName, &ZELbezierName, &ZELbiasName,
    &ZELblendName, &ZELbottomRadName, &ZELcapsName, &ZELcenterName, &ZELchanPrefixName,
    &ZELchordLenName, &ZELclosedArcName, &ZELclosedName, &ZELcollinearToleranceName, &ZELcolsName,
    &ZELconnectivityName, &ZELconvMeshName, &ZELcoordName, &ZELcycleName, &ZELdiffuseName,
    &ZELdirectionName, &ZELdistName, &ZELdivName, &ZELdoFuseName, &ZELdostitchName,
    &ZELdotangentName, &ZELentityName, &ZELextractPtName, &ZELfeatherName, &ZELfirstuName,
    &ZELfirstvName, &ZELfitToleranceName, &ZELfixedName, &ZELforceName, &ZELframeName, &ZELfreqName,
    &ZELfrontName, &ZELfuCapDivsName, &ZELfuCapScaleName, &ZELfullscaleName, &ZELfvCapDivsName,
    &ZELfvCapScaleName, &ZELgridCountName, &ZELgridRulerName, &ZELgridSpaceName, &ZELgroupName,
    &ZELgroupNameName, &ZELgroupToSelName, &ZELgroupTypeName, &ZELgrpBoundTypeName,
    &ZELgrpEdgeAngleBetweenEdgesName, &ZELgrpEdgeAngleName, &ZELgrpEdgeDepthName,
    &ZELgrpEdgeMaxAngleName, &ZELgrpEdgeMaxLenName, &ZELgrpEdgeMinAngleName, &ZELgrpEdgeMinLenName,
    &ZELgrpEveryOfName, &ZELgrpGeometryTypeName, &ZELgrpOperationName, &ZELgrpOutputName,
    &ZELgrpPatternName, &ZELgrpPointNumberName, &ZELgrpPrefixName, &ZELgrpSpreadAngleName,
    &ZELgrpStartEndName, &ZELgrpUnsharedName, &ZELhandAlignName, &ZELhandFollowName,
    &ZELhandGlobalXformName, &ZELhandPivotName, &ZELhandRotName, &ZELheightName, &ZELimperfectName,
    &ZELincName, &ZELinsetName, &ZELinterpuName, &ZELinterpvName, &ZELjoinOpName, &ZELkeepInName,
    &ZELkeepOrigName, &ZELkeepOutName, &ZELkeepPrimsName, &ZELkeepShapeName, &ZELkernelName,
    &ZELlastuName, &ZELlastvName, &ZELleadnmlName, &ZELleftuvName, &ZELlmbName,
    &ZELlocalPivotRotShortName, &ZELlocalPivotXformParmGroupName, &ZELlocalPivotXlateLabelShortName,
    &ZELlocalPrexformParmGroupName, &ZELlocalPrexformRotShortName, &ZELlocalPrexformScaleShortName,
    &ZELlocalPrexformShearShortName, &ZELlocalPrexformTRSShortName, &ZELlocalPrexformXYZShortName,
    &ZELlocalPrexformXlateShortName, &ZELlockUpName, &ZELloopName, &ZELlroffsetName,
    &ZELlrscaleName, &ZELlrwidthName, &ZELluCapDivsName, &ZELluCapScaleName, &ZELlvCapDivsName,
    &ZELlvCapScaleName, &ZELmapTypeName, &ZELmatAmbName, &ZELmatAparaName, &ZELmatAperpName,
    &ZELmatArollName, &ZELmatBiasName, &ZELmatDiffName, &ZELmatEmitName, &ZELmatFresnelName,
    &ZELmatReflName, &ZELmatRefractName, &ZELmatRoughName, &ZELmatShadowName, &ZELmatSpecName,
    &ZELmatTransName, &ZELmaterialName, &ZELmaxAngleName, &ZELmeshName, &ZELmetricName,
    &ZELminAngleName, &ZELmirrorGroupUseName, &ZELmirrorPlaneName, &ZELmmbName,
    &ZELmultiplicityName, &ZELnextPointName, &ZELnmlName, &ZELnoiseTypeName, &ZELnormalName,
    &ZELnormalizeBasisName, &ZELnurbsName, &ZELobjectName, &ZELoffsetName, &ZELopenArcName,
    &ZELorderName, &ZELorientName, &ZELorientPolysName, &ZELoriginName, &ZELoutPolysName,
    &ZELpackedPivotName, &ZELparamName, &ZELpivotName, &ZELpivotRotName,
    &ZELpivotXformParmGroupName, &ZELpivotXlateLabelName, &ZELpolygonName, &ZELposName,
    &ZELprefixCharName, &ZELprefixName, &ZELprexformParmGroupName, &ZELprexformRotName,
    &ZELprexformScaleName, &ZELprexformShearName, &ZELprexformTRSName, &ZELprexformXYZName,
    &ZELprexformXlateName, &ZELprimTypeName, &ZELprimitiveName, &ZELproximityName, &ZELradiusName,
    &ZELrayToleranceName, &ZELremovePrefixName, &ZELremoveSharedSidesName, &ZELremoveSuffixName,
    &ZELrightuvName, &ZELrightuvendName, &ZELrmbName, &ZELrollName, &ZELrotName, &ZELrowcolName,
    &ZELrowsName, &ZELscaleName, &ZELscaleStepName, &ZELseedName, &ZELselToGroupName,
    &ZELshareFacesName, &ZELsharpConnName, &ZELsharpCornerName, &ZELsharpName, &ZELshearName,
    &ZELsideName, &ZELsizeName, &ZELskinOpsName, &ZELslicedArcName, &ZELsmoothName,
    &ZELsoftApplyRolloffName, &ZELsoftDistanceAttributeName, &ZELsoftDistanceMetricsName,
    &ZELsoftIgnorePointConnectivityName, &ZELsoftLeadPointAttributeName, &ZELsoftRadiusName,
    &ZELsoftTangentAngleName, &ZELsoftTypeName, &ZELsoftVisualizeFalloffName, &ZELgemnName,
    &ZELspanDivsName, &ZELstitchOpName, &ZELsubFromGrpName, &ZELsubFromSelName, &ZELsuffixCharName,
    &ZELsuffixName, &ZELsurfaceName, &ZELswitcherName, &ZELtextureMapName, &ZELtoleranceName,
    &ZELtopBotRadName, &ZELtopRadName, &ZELtrsName, &ZELturbName, &ZELuBiasName, &ZELuName,
    &ZELuRangeName, &ZELuSharpName, &ZELuUseBiasName, &ZELuWarpName, &ZELuniformName,
    &ZELuorderName, &ZELupVectorName, &ZELupdatenmlsName, &ZELupdatenmlspName, &ZELupdatenmlstName,
    &ZELupoleName, &ZELuscaleName, &ZELuvGapName, &ZELuvSnapName, &ZELvBiasName, &ZELvName,
    &ZELvRangeName, &ZELvSharpName, &ZELvUseBiasName, &ZELvWarpName, &ZELvectorName, &ZELvertexName,
    &ZELkslPrecisionName, &ZELvlengthName, &ZELvorderName, &ZELweightName, &ZELwidthName,
    &ZELwrapuName, &ZELwrapvName, &ZELxlateName, &ZELxlateStepName, &ZELxsectGroupName,
    &ZELxyExpName, &ZELxyzName, &ZELzExpName,
};

static ZEL_Default *const theDefaults[] = {
    &ZEL360over8Default, &ZELsurfaceDefault, &ZELconnectivityDefault, &ZELtextureMapDefault,
    &ZELbumpMapDefault, &ZELgroupDefault, &ZELkslPrecisionDefault, &ZELrenameDefault,
    &ZELrpartSizeDefault, &ZELbiasDefault, &ZELtoleranceDefault, &ZELfitToleranceDefault,
    &ZELrayToleranceDefault, &ZELsharpnessDefault, &ZELradiusDefault,
    &ZELsoftVisualizeFalloffDefault, ZELposDefaults, ZELxaxisDefaults, ZELyaxisDefaults,
    ZELzaxisDefaults, ZELnegoneDefaults, ZELpointOneDefaults, ZELpointFiveDefaults, ZELzeroDefaults,
    ZELoneDefaults, ZELtwoDefaults, ZELthreeDefaults, ZELfourDefaults, ZELfiveDefaults,
    ZELsixDefaults, ZELsevenDefaults, ZELeightDefaults, ZELnineDefaults, ZELtenDefaults,
    ZEL20Defaults, ZEL45Defaults, ZEL90Defaults, ZEL100Defaults, ZEL180Defaults, ZEL360Defaults,
    ZELangleDefaults, ZELhalfAngleDefaults, ZELmatrix2Defaults, ZELmatrix3Defaults,
    ZELmatrix4Defaults, ZELuvRangeDefaults, ZELluvDefaults, ZELruvDefaults, ZELinputLabelDefaults,
};

static ZEL_Range *const theRanges[] = {
    &ZELangleRange, &ZELhalfAngleRange, &ZELnonNegativeRange, &ZELpositiveRange,
    &ZELnonPositiveRange, &ZELdivision3Range, &ZELdivision2Range, &ZELdivision1Range,
    &ZELdivision0Range, &ZELdivisionRange, &ZELexpRange, &ZELframeRange, &ZELrulerRange,
    &ZELlodRange, &ZELrolloffRange, &ZELseedRange, &ZELscaleRange, &ZELuscaleRange,
    &ZELstepSizeRange, &ZELdistRange, &ZELorderRange, &ZELfrequency10Range, &ZELfrequencyRange,
    &ZELmetaWeightRange, &ZELbiasRange, &ZELtoleranceRange, &ZELsharpnessRange, &ZELunitRange,
    &ZELincRange, &ZELradiusRange, &ZELsofttoggleRange, &ZELfullunitRange, &ZELfullunituiRange,
    &ZELfullangleRange,
};

static ZEL_ChoiceList *const theMenus[] = {
    &ZELUVgroupTypeMenu, &ZELarcTypeMenu, &ZELaxisMenu, &ZELbumpMenu, &ZELcapMenu,
    &ZELchildCompMenu, &ZELconnectivityMenu, &ZELcycleMenu, &ZELdirUVMenu, &ZELentityMenuAll,
    &ZELentityMenuPointsAndPrimitives, &ZELgroupTypeMenu, &ZELhandleAlignMenu,
    &ZELhandleAngleStepMenu, &ZELintegrateMenu, &ZELkeepPosMenu, &ZELlockUpVectMenu, &ZELmetricMenu,
    &ZELmirrorGroupUseMenu, &ZELnoiseMenu, &ZELopFilterTypeMenu, &ZELpackedPivotMenu, &ZELparamMenu,
    &ZELplaneMenu, &ZELpointOpsMenu, &ZELprimOpsMenu, &ZELprimitiveMenu, &ZELrgbaMenu,
    &ZELrgbahsvMenu, &ZELrgbal2Menu, &ZELrgbalMenu, &ZELrpartTypeMenu, &ZELsoftDistanceMetricsMenu,
    &ZELsoftTypesMenu, &ZELsoftVisualizeFalloffMenu, &ZELsurfaceMenu, &ZELtoggleMenu, &ZELtrsMenu,
    &ZELuInterpMenu, &ZELuWrapMenu, &ZELvInterpMenu, &ZELvWrapMenu, &ZELkslPrecisionMenu,
    &ZELviewportLODMenu, &ZELviewportLODMenuWithUnchanged, &ZELxyzMenu, &zelRampInterpMenu,
};
// clang-format on

static const ZEL_ChoiceList::NameGenerator theBuilders[] = {
    ZELbuildImageMenu,    ZELbuildResolutionMenu,  ZELbuildPixelFormatMenu,
    ZELbuildRiDeviceMenu, ZELbuildRiFilterMenu,    ZELbuildRiHiderMenu,
    ZELbuildFilterMenu,   ZELbuildImageDeviceMenu, ZELbuildTakeMenu};

template <class T, size_t Count>
static void tell(const char *what, T *const (&table)[Count])
{
    std::printf("%zu %s\n", std::set<const T *>(table, table + Count).size(), what);
}

int main()
{
    tell("names", theNames);
    tell("defaults", theDefaults);
    tell("ranges", theRanges);
    tell("menus", theMenus);
    int rows = 0;
    for (const ZEL_ChoiceList *menu : theMenus) {
        rows += menu->getSize(nullptr);
    }
    std::printf("%d rows\n", rows);

    // An array of three names: two rows and the sentinel, from every builder.
    for (const ZEL_ChoiceList::NameGenerator builder : theBuilders) {
        ZEL_Name names[3];
        builder(nullptr, names, 3, nullptr, nullptr);
        ZELsortMenu(names, 2);
        std::printf("%d", !names[0].isSentinel() + !names[1].isSentinel() + !names[2].isSentinel());
    }
    const bool gotFlag = ZELgetImageName(0) && ZELgetResolutionName(0) &&
                         ZELgetPixelFormatName(0) && ZELgetFilterName(0);
    std::printf(" %s\n", gotFlag ? "rows kept" : "no rows");

    KIT_String format("pic"), options("depth int8"), name("a.pic");
    std::printf("%d %d", ZELchangeImageFilename("a.pic", "a.png", format, options),
                ZELchangeImageFormat("pic", "png", name, options));
    std::printf(" %s %s %s\n", format.c_str(), name.c_str(),
                ZELlookupDialogScript(ZELlookupDialogScript("KSLlight")));
    return 0;
}
