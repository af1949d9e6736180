#ifndef ZOLDEBUG_TESTS_MASK_MODEL_H
#define ZOLDEBUG_TESTS_MASK_MODEL_H

#include <QtCore/QString>

namespace Fuzz {

/** A second writing of what a mask string denotes. */
int ModelMask(const QString& mask_string);

} // namespace Fuzz

#endif
