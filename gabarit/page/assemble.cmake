# Puts the page's HTML, style and scripts into a C++ source:
# cmake -DPAGE=FOLDER -DSCRIPTS=NAMES -DOUT=FILE -P assemble.cmake
file(READ ${PAGE}/page.html html)
file(READ ${PAGE}/page.css style)
set(script "")
string(REPLACE " " ";" scripts "${SCRIPTS}")
foreach(name IN LISTS scripts)
    file(READ ${PAGE}/${name}.js text)
    string(APPEND script "\n${text}")
endforeach()
# The page allows no other style and script than these: their hashes stand in its policy.
string(SHA256 style_sha256 "${style}")
string(SHA256 script_sha256 "${script}")
# For the linter, which wants them as one script too.
file(WRITE ${OUT}.mjs "${script}")
configure_file(${PAGE}/page_template.cpp.in ${OUT} @ONLY)
