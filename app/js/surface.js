// The surface agent, at window.__q: tracks changes of the body, hands its
// content over, pastes, and tells the owner of selection changes and link
// clicks through console notes. The message keys come first, as
// window.quillary.keys (from keys.json); running it twice does no harm.
(function () {
  if (window.__q) return;
  var K = window.quillary.keys;
  var q = window.__q = { dirty: false, gen: 0, editable: true, body: null, observer: null, noted: false };

  // One note per task: timers do not run while page script is off, microtasks do.
  function note() {
    if (q.noted) return;
    q.noted = true;
    queueMicrotask(function () { q.noted = false; console.debug('\u0001' + K.notes.display); });
  }
  function touch() { q.dirty = true; q.gen++; note(); }
  // The editable switch itself is no change of content.
  function relevant(records) {
    for (var i = 0; i < records.length; i++) {
      var r = records[i];
      if (!(r.type === 'attributes' && r.target === q.body && r.attributeName === 'contenteditable'))
        return true;
    }
    return false;
  }
  q.flush = function () {
    if (q.observer && relevant(q.observer.takeRecords())) touch();
  };
  q.attach = function () {
    var b = document.body;
    if (!b) return false;
    if (q.body !== b) {
      if (q.observer) q.observer.disconnect();
      q.body = b;
      q.observer = new MutationObserver(function (records) { if (relevant(records)) touch(); });
      q.observer.observe(b, { childList: true, subtree: true, characterData: true, attributes: true });
    }
    b.setAttribute('contenteditable', q.editable ? 'true' : 'false');
    // Enter makes paragraphs, as the topic format wants, not DIVs.
    try { document.execCommand('defaultParagraphSeparator', false, 'p'); } catch (e) {}
    return true;
  };
  q.setEditable = function (on) { q.editable = !!on; return q.attach(); };
  q.isDirty = function () { q.flush(); return q.dirty; };
  q.setDirty = function () { q.flush(); touch(); return true; };
  q.body_ = function () { return document.body ? document.body.innerHTML : ''; };
  q.setBody = function (html) { q.attach(); document.body.innerHTML = html; q.flush(); return true; };
  q.doc = function () {
    var d = document.doctype ? new XMLSerializer().serializeToString(document.doctype) : '';
    return d + document.documentElement.outerHTML;
  };
  // The page text with the change count it belongs to; clean() clears the
  // flag only if nothing changed in between.
  q.snapshot = function () {
    q.flush();
    var s = {};
    s[K.snapshot.html] = q.doc();
    s[K.snapshot.gen] = q.gen;
    return s;
  };
  q.clean = function (gen) { q.flush(); if (q.gen === gen) q.dirty = false; return !q.dirty; };
  // Inserts HTML at the selection, replacing it; at the end of the body when
  // the selection is not in the body. The caret goes behind the insertion.
  q.paste = function (html) {
    q.attach();
    var b = document.body, sel = window.getSelection(), range = null;
    if (sel && sel.rangeCount > 0) {
      var r = sel.getRangeAt(0);
      if (b.contains(r.commonAncestorContainer)) range = r;
    }
    if (!range) {
      range = document.createRange();
      range.selectNodeContents(b);
      range.collapse(false);
    }
    range.deleteContents();
    var frag = range.createContextualFragment(html);
    var last = frag.lastChild;
    range.insertNode(frag);
    if (last && sel) {
      var after = document.createRange();
      after.setStartAfter(last);
      after.collapse(true);
      sel.removeAllRanges();
      sel.addRange(after);
    }
    q.flush();
    return true;
  };
  // Links never leave the page; in browse mode the owner hears of the click.
  document.addEventListener('click', function (e) {
    var a = e.target && e.target.closest ? e.target.closest('a[href]') : null;
    if (!a) return;
    e.preventDefault();
    if (!q.editable) console.debug('\u0001' + K.notes.link + a.getAttribute('href'));
  }, true);
  document.addEventListener('input', touch, true);
  document.addEventListener('selectionchange', note);
  document.addEventListener('keyup', note, true);
  document.addEventListener('mouseup', note, true);
  q.attach();
})();
true;
