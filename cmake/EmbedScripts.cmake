# cmake -DOUTPUT=FILE -DSCRIPTS="A;B" -P EmbedScripts.cmake: the scripts, in this order, as one
# function in a C++ string.
set(text "(function (native, isMain) {\n'use strict';\n")
foreach(script IN LISTS SCRIPTS)
  file(READ "${script}" part)
  string(APPEND text "${part}\n")
endforeach()
string(APPEND text "})\n")
# A literal has a length that every compiler takes; adjacent ones are one.
string(LENGTH "${text}" length)
set(literals "")
set(begin 0)
while(begin LESS length)
  string(SUBSTRING "${text}" ${begin} 8000 part)
  string(APPEND literals "R\"vesta(${part})vesta\"\n")
  math(EXPR begin "${begin} + 8000")
endwhile()
# Together they are longer than every compiler has to take, but ours take more.
set(pragma "#pragma GCC diagnostic ignored \"-Woverlength-strings\"")
file(WRITE "${OUTPUT}" "#include \"receiver/objects/boot_script.h\"\n\n${pragma}\n\nnamespace receiver {\n\nconst char* const bootScript = ${literals};\n\n}  // namespace receiver\n")
