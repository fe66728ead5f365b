# Comments as Doxygen wants them, taken as they are drawn: the first one is the file's, one before declarations counts for all
# of them down to the next blank line, and those behind the members of a record or an enumeration are theirs. One before a
# macro that spells declarations is said again where the macro is called.
function put(line) { print line; text = text line "\n" }
function begin() { print first++ ? "/**" : "/** @file"; print "@verbatim"; text = "" }
function end() { print "@endverbatim */"; inside = ""; told = first > 1 }
function close_group() { if (grouped) print "/** @} */"; grouped = 0 }
FNR == 1 { first = grouped = told = body = 0; inside = "" }

inside == "C" { closes = sub(/[ ]*\*\/$/, ""); sub(/^   /, ""); put($0); if (closes) end(); next }
inside == "C++" && !/^\/\// { end() }
/^\/\*[ ]/ { close_group(); begin(); inside = "C"; closes = sub(/[ ]*\*\/$/, ""); sub(/^\/\*[ ]/, ""); put($0); if (closes) end(); next }
/^\/\// { if (inside == "") { close_group(); begin(); inside = "C++" } sub(/^\/\/[ ]?/, ""); put($0); next }

/^$/ { close_group(); told = 0; text = "" }
/^#define TNK_[A-Z0-9_]*\(/ { split($2, name, "("); spelled[name[1]] = text }
/^TNK_[A-Z0-9_]*\(/ && !grouped { split($0, name, "("); if (spelled[name[1]] != "") { print "/**\n@verbatim\n" spelled[name[1]] "@endverbatim */"; told = 1 } }
/^(typedef )?(enum|struct|union)[^(]*\{$/ { body = 1 }
/^\}/ { body = 0 }
body && /;.*\/\*[ ].*\*\/$|,.*\/\*[ ].*\*\/$|^[ ].*[0-9A-Z'][ ]*\/\*[ ].*\*\/$/ { sub(/\/\*[ ]/, "/**< ") }
body && /;[ ]*\/\/[ ]/ { sub(/\/\/[ ]/, "///< ") }
/^[ ]+\/\/[ ]/ { sub(/\/\/[ ]/, "/// ") }
told && !body && /^[a-zA-Z]/ && !/^(typedef|struct|union|extern|namespace|class|template|inline|constexpr|using)/ { print "/** @{ */"; grouped = 1 }
{ told = 0; print }
