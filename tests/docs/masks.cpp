/* Compares each mask string in the tables of the documentation with what the library takes it for.
 */

#include "dbg_utils.h"

#include <stdio.h>

namespace {

struct Row
{
    const char* text;
    int mask;
    const char* page;
};

const Row rows[] = {
#include "mask_rows.h"
};

} // namespace

int main()
{
    int failures = 0;
    for (const Row& row : rows) {
        const int mask = Zol::DbgUtils::ParseDebugMaskString(QString::fromLatin1(row.text));
        if (mask == row.mask)
            continue;
        fprintf(stderr, "%s: '%s' is %d, not %d\n", row.page, row.text, mask, row.mask);
        ++failures;
    }
    return failures ? 1 : 0;
}
