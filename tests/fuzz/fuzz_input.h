#ifndef ZOLDEBUG_TESTS_FUZZ_INPUT_H
#define ZOLDEBUG_TESTS_FUZZ_INPUT_H

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/** The entry point that libFuzzer calls with each input. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Fuzz {

/** The input as a text. What is no UTF-8 becomes half a surrogate pair, which no UTF-8 yields. */
inline QString TextOf(const uint8_t* data, size_t size)
{
    QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    return text.replace(QChar(QChar::ReplacementCharacter), QChar(0xdc00));
}

inline void Fail(const char* what, const QString& actual, const QString& expected)
{
    std::fprintf(stderr, "%s\n  actual:   \"%s\"\n  expected: \"%s\"\n", what,
                 actual.toUtf8().constData(), expected.toUtf8().constData());
    std::abort();
}

inline void Expect(const char* what, const QString& actual, const QString& expected)
{
    if (actual != expected)
        Fail(what, actual, expected);
}

inline void Expect(const char* what, int actual, int expected)
{
    if (actual != expected)
        Fail(what, QString::number(actual), QString::number(expected));
}

} // namespace Fuzz

#endif
