#include <ZEL/ZEL_SharedNames.h>

#define ZEL_SHARED_NAME(symbol, token, label) ZEL_Name symbol(token, label);
#include <ZEL/ZEL_SharedNames.def>
#undef ZEL_SHARED_NAME

ZEL_Name ZELinputLabelNames[6] = {
    {"label1", "Input #1 Label"}, {"label2", "Input #2 Label"}, {"label3", "Input #3 Label"},
    {"label4", "Input #4 Label"}, {"label5", "Input #5 Label"}, {"label6", "Input #6 Label"},
};
