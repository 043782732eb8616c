// What games save, kept by the browser: by the game's name, in its database for this site.

const saves = {
  database: null,

  open() {
    this.database = this.database || new Promise((done, failed) => {
      const request = indexedDB.open('orb', 1);
      request.onupgradeneeded = () => request.result.createObjectStore('saves');
      request.onsuccess = () => done(request.result);
      request.onerror = () => failed(request.error);
    });
    return this.database;
  },

  async ask(mode, what) {
    const store = (await this.open()).transaction('saves', mode).objectStore('saves');
    return new Promise((done, failed) => {
      const request = what(store), transaction = store.transaction;
      transaction.oncomplete = () => done(request.result);
      transaction.onabort = () => failed(transaction.error); // after errors, too
    });
  },

  // A Promise of [[name, Uint8Array], ...]; of none where the browser keeps nothing.
  of(game) { return this.ask('readonly', store => store.get(game)).then(files => files || [], () => []); },
  // A Promise of whether they are kept.
  keep(game, files) { return this.ask('readwrite', store => store.put(files, game)).then(() => true, () => false); },
};
