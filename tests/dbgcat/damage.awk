# Damages a log in every way that a log is damaged in, always the same.
# Usage: LC_ALL=C awk -f damage.awk LOG

{
    place = NR % 45
    text = $0
}
place == 6 { printf "%s", substr(text, 1, 40); next } # torn in the header
place == 9 { printf "%s", substr(text, 1, length(text) - 14); next } # torn in the body
place == 12 { print "QObject::connect: No such signal <x>" }
place == 14 { for (i = 0; i < 300; ++i) printf "%c", 0 }
place == 16 { sub(/ m="/, " m=\"a\"b<c> l=\"1\" ", text) }
place == 18 { sub(/ thrd="/, " thrd=\"\033[31m\"/></h><b>", text) }
place == 20 {
    sub(/20[0-9][0-9]\/[0-9]+\/[0-9]+ \([A-Za-z]+\) \([A-Za-z]+\)/, "1970/01/01 (Jan) (Thu)", text)
}
place == 22 { sub(/<b>/, "<b>\344\033]0;title\007 \342\200\256", text) }
place == 24 { printf "\001\377<dbg><h>" }
place == 26 { text = text "\r" }
place == 28 { sub(/ lvl="[A-Z_]*"/, " lvl=\"\"", text) }
place == 30 { text = text " tail" }
place == 36 { sub(/<h><d t="/, "<h><d x=\"", text) }
{ print text }
END { printf "%s", substr(text, 1, length(text) - 20) }
