# Comments as Doxygen wants them, taken as they are drawn: the first one is the file's, one before declarations counts for all
# of them down to the next blank line, and those behind the members of a record or an enumeration are theirs.
function begin() { print first++ ? "/**" : "/** @file"; print "@verbatim" }
function end() { print "@endverbatim */"; inside = ""; told = first > 1 }
function close_group() { if (grouped) print "/** @} */"; grouped = 0 }
FNR == 1 { first = grouped = told = body = 0; inside = "" }

inside == "C" { closes = sub(/[ ]*\*\/$/, ""); sub(/^   /, ""); print; if (closes) end(); next }
inside == "C++" && !/^\/\// { end() }
/^\/\*[ ]/ { close_group(); begin(); inside = "C"; closes = sub(/[ ]*\*\/$/, ""); sub(/^\/\*[ ]/, ""); print; if (closes) end(); next }
/^\/\// { if (inside == "") { close_group(); begin(); inside = "C++" } sub(/^\/\/[ ]?/, ""); print; next }

/^$/ { close_group(); told = 0 }
/^(typedef )?(enum|struct|union)[^(]*\{$/ { body = 1 }
/^\}/ { body = 0 }
body && /;.*\/\*[ ].*\*\/$|,.*\/\*[ ].*\*\/$|^[ ].*[0-9A-Z'][ ]*\/\*[ ].*\*\/$/ { sub(/\/\*[ ]/, "/**< ") }
body && /;[ ]*\/\/[ ]/ { sub(/\/\/[ ]/, "///< ") }
/^[ ]+\/\/[ ]/ { sub(/\/\/[ ]/, "/// ") }
told && !body && /^[a-zA-Z]/ && !/^(typedef|struct|union|extern|namespace|class|template|inline|constexpr|using)/ { print "/** @{ */"; grouped = 1 }
{ told = 0; print }
