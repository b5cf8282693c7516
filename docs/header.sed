# Doxygen takes a backslash outside of quotes for a command: doubles it there.
s/\\/\x01/g
:next
s/^([^"]*("[^"]*"[^"]*)*)\x01/\1\\\\/
t next
s/\x01/\\/g
