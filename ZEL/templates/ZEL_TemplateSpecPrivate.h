/// \file ZEL_TemplateSpecPrivate.h
/// Everything that a template consists of, by name. What isn't set is as in the public
/// constructors.
///
/// Ownership:  borrows what it points to, for the call.
#pragma once

#include <ZEL/ZEL_Template.h>

struct ZEL_TemplateSpec
{
    // Of both kinds.
    ZEL_Template::ZEL_Export exportLevel = ZEL_Template::ZEL_EXPORT_0;
    ZEL_Name *name = nullptr;
    ZEL_Default *defaults = nullptr;
    ZEL_Range *range = nullptr;
    ZEL_Callback callback;
    ZEL_SpareData *spare = nullptr;
    const char *help = nullptr;
    const KIT_StringHolder *sharedHelp = nullptr; // instead of a copy of `help`
    ZEL_ConditionalBase *conditional = nullptr;

    // Of an ordinary parameter.
    const ZEL_Type *type = nullptr; // never null for makeParm()
    ZEL_TypeExtended extended = ZEL_TYPEX_NONE;
    int vectorSize = 1;
    ZEL_ChoiceList *choices = nullptr;
    int parmGroup = 1;

    // Of a multi-parameter.
    ZEL_MultiType multiType = ZEL_MULTITYPE_NONE;
    ZEL_Template *items = nullptr;
    double multiSize = 1.0;

    void shareHelp(const ZEL_Template &other) { sharedHelp = &other.myHelpText; }

    /// As `ZEL_Template::initialize`, which takes the same by position.
    void makeParm(ZEL_Template &target) const { target.become(*this); }
    /// As `ZEL_Template::initMulti`.
    void makeMulti(ZEL_Template &target) const { target.becomeMulti(*this); }
};
