# Comments that begin a line, as Doxygen wants them: taken as they are drawn.
function put(text) { print "/// " text }
function begin() { print "/// @verbatim" }
function end() { print "/// @endverbatim" }
inside { closes = sub(/[ ]*\*\/$/, ""); sub(/^   /, ""); put($0); if (closes) { end(); inside = 0 } next }
/^\/\* .*\*\/$/ { sub(/^\/\* /, ""); sub(/[ ]*\*\/$/, ""); begin(); put($0); end(); next }
/^\/\* / { inside = 1; sub(/^\/\* /, ""); begin(); put($0); next }
{ print }
