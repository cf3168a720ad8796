# Filled with the command line: programs, man page, completion.
