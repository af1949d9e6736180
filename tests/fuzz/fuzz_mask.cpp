// Takes the input for a mask string.

#include "dbg_utils.h"
#include "fuzz_input.h"
#include "mask_model.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = Fuzz::TextOf(data, size);
    Fuzz::Expect("the mask differs", Zol::DbgUtils::ParseDebugMaskString(text),
                 Fuzz::ModelMask(text));
    return 0;
}
