# A name of the header that stands alone leads to the reference.
s/`(TARVO_[A-Za-z0-9_]+)`/<code>@ref \1<\/code>/g
s/<code>@ref (TARVO_(Load|TryLoad|Unload|LastError|TextIn|List|FreeList|Uninstall|KeepRun|UndoRun))<\/code>/`\1`/g
# In front of a word Doxygen takes one of these for its own.
s/(`[^`]*)%([A-Za-z][^`]*`)/\1%%\2/g
