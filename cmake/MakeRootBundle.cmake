# Makes the root bundle (the fall-back texts) from the English one: the same
# texts under the table name "root".
file(READ ${INPUT} text)
string(REGEX REPLACE "(^|\n)en:table" "\\1root:table" text "${text}")
file(WRITE ${OUTPUT} "${text}")
