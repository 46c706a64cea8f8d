/* Web help search: the index is built with lunr when the book is published
   (by the program, with this file) and loaded by the pages; both sides use
   the same pipeline. English gets lunr's own (stemmer, stop words); other
   languages, for which lunr has no support here, a trimmer that keeps
   letters of every script, so a word is found as it is written. */
(function (root) {
  'use strict';

  // Letters and digits of the Latin, Greek and Cyrillic scripts and beyond.
  var edge = /^[^0-9A-Za-z\u00AA\u00B5\u00BA\u00C0-\u00D6\u00D8-\u00F6\u00F8-\u1FFF\u2C00-\uD7FF\uF900-\uFFEF]+|[^0-9A-Za-z\u00AA\u00B5\u00BA\u00C0-\u00D6\u00D8-\u00F6\u00F8-\u1FFF\u2C00-\uD7FF\uF900-\uFFEF]+$/g;

  function qhTrimmer(token) {
    return token.update(function (s) { return s.replace(edge, ''); });
  }

  function register(lunr) {
    if (!lunr.Pipeline.registeredFunctions.qhTrimmer)
      lunr.Pipeline.registerFunction(qhTrimmer, 'qhTrimmer');
  }

  // docs: [{id, t (title), b (text)}]; the titles weigh more.
  function build(lunr, docs, lang) {
    register(lunr);
    return lunr(function () {
      if (lang !== 'en') {
        this.pipeline.reset();
        this.searchPipeline.reset();
        this.pipeline.add(qhTrimmer);
        this.searchPipeline.add(qhTrimmer);
      }
      this.ref('id');
      this.field('t', { boost: 8 });
      this.field('b');
      for (var i = 0; i < docs.length; ++i)
        this.add(docs[i]);
    });
  }

  function load(lunr, serialized) {
    register(lunr);
    return lunr.Index.load(serialized);
  }

  // The words of a query as lunr splits them, without its query syntax:
  // every word must be there, as written or as the start of a longer one.
  function words(lunr, text) {
    return lunr.tokenizer(String(text || '').replace(/[:~^*+]/g, ' '))
      .map(function (t) { return t.toString(); })
      .filter(function (w) { return w.length > 0; });
  }

  function search(lunr, index, text) {
    var terms = words(lunr, text);
    if (!terms.length)
      return [];
    return index.query(function (q) {
      terms.forEach(function (w) {
        q.term(w, { presence: lunr.Query.presence.REQUIRED, boost: 10 });
      });
    }).concat(index.query(function (q) {
      terms.forEach(function (w) {
        q.term(w, { wildcard: lunr.Query.wildcard.TRAILING, presence: lunr.Query.presence.REQUIRED,
                       usePipeline: false });
      });
    })).filter(function (r, i, all) {
      for (var j = 0; j < i; ++j)
        if (all[j].ref === r.ref)
          return false;
      return true;
    });
  }

  root.QuillarySearch = { build: build, load: load, search: search, words: words };
})(typeof window !== 'undefined' ? window : this);
