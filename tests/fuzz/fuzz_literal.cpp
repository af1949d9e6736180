// Takes the input for literals, one a line, which stand in the same place one after the other, as
// those of components do that are loaded and closed.

#include "fuzz_input.h"
#include "literal_text.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstring>

namespace {

char* PlaceFor(const QByteArray& literal)
{
    const size_t most = 4096;
    static char* const place = new char[most];
    const size_t size = qMin(most - 1, static_cast<size_t>(literal.size()));
    std::memcpy(place, literal.constData(), size);
    place[size] = 0;
    return place;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Zol::TextsOfThread& known = *new Zol::TextsOfThread;
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<int>(size));
    for (const QByteArray& literal : input.split('\n')) {
        const char* const place = PlaceFor(literal);
        Fuzz::Expect("a literal differs", Zol::TextOfLiteral(place, &known),
                     QString::fromLatin1(place));
        Fuzz::Expect("a known literal differs", Zol::TextOfLiteral(place, &known),
                     QString::fromLatin1(place));
        Fuzz::Expect("a literal differs for a thread at its end",
                     Zol::TextOfLiteral(place, nullptr), QString::fromLatin1(place));
    }
    return 0;
}
