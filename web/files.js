// Mends Emscripten's files in memory, before the program begins.
Module['preRun'] = [].concat(Module['preRun'] || [], () => {
  // A name has at most 255 bytes, as elsewhere. (The optimiser would drop `const { mayCreate } = FS`.)
  const mayCreate = FS.mayCreate, rename = FS.rename;
  FS.mayCreate = (folder, name) => name.length > 255 ? 37 /* ENAMETOOLONG */ : mayCreate(folder, name);
  // A file that another was renamed to appeared again when that one was removed.
  FS.rename = (from, to) => {
    const there = FS.analyzePath(from).object, gone = FS.analyzePath(to).object;
    if (there && gone && there !== gone && !FS.isDir(gone.mode) && !FS.isDir(there.mode)) FS.unlink(to);
    rename(from, to);
  };
});
