// The editing agent, at window.__qe: the facts about the caret, the DOM
// operations of the element commands and rules, and an undo history that
// covers both the user's typing and those operations. It runs in the same
// script world as the surface agent; field and operation names come from
// window.quillary.keys (keys.json). Running it twice does no harm.
(function () {
  if (window.__qe) return;
  var K = window.quillary.keys, N = K.node, A = K.args, OP = K.ops;
  var E = window.__qe = { undos: [], redos: [], refs: [], last: null, limit: 200, typing: null, pasteRequested: false };

  // Blocks that the block and list commands convert.
  var FORMAT_BLOCKS = { P: 1, H1: 1, H2: 1, H3: 1, H4: 1, H5: 1, H6: 1, DD: 1, DT: 1, LI: 1, DIV: 1, PRE: 1, ADDRESS: 1, BLOCKQUOTE: 1 };
  // Elements that make pasted content a block paste.
  var BLOCK_LEVEL = { P: 1, H1: 1, H2: 1, H3: 1, H4: 1, H5: 1, H6: 1, DL: 1, DD: 1, DT: 1, UL: 1, OL: 1, LI: 1, TABLE: 1,
                      DIV: 1, PRE: 1, ADDRESS: 1, BLOCKQUOTE: 1, CENTER: 1, HR: 1 };
  // Elements whose content a paste does not split.
  var CONTAINERS = { LI: 1, DD: 1, DT: 1, TD: 1, TH: 1, BODY: 1 };
  // Blocks that a copy of their whole content takes along.
  var WIDEN = { P: 1, DL: 1, UL: 1, OL: 1 };

  function body() { return document.body; }
  function isEl(n) { return !!n && n.nodeType === 1; }
  function tag(n) { return isEl(n) ? n.tagName.toUpperCase() : ''; }
  function attr(n, a) { return isEl(n) ? (n.getAttribute(a) || '') : ''; }
  function live(n) { var b = body(); return !!n && !!b && n !== b && b.contains(n); }
  function inBody(n) { var b = body(); return !!b && !!n && (n === b || b.contains(n)); }
  function isWrapper(n) { return tag(n) === 'P' && attr(n, 'title') !== ''; }
  function indexOf(n) { var i = 0; while ((n = n.previousSibling)) i++; return i; }
  function len(n) { return n.nodeType === 3 ? n.data.length : n.childNodes.length; }
  // Empty text nodes that editing leaves behind count as nothing.
  function sibling(n, forward) {
    do { n = forward ? n.nextSibling : n.previousSibling; } while (n && n.nodeType === 3 && n.data === '');
    return n;
  }
  function firstReal(n) { var c = n.firstChild; while (c && c.nodeType === 3 && c.data === '') c = c.nextSibling; return c; }
  function kind(n) {
    if (!n) return '';
    if (n.nodeType === 1) return tag(n);
    if (n.nodeType === 3) return '#text';
    if (n.nodeType === 8) return '#comment';
    return '#other';
  }
  function blank(el) { return el.textContent === '' && !el.querySelector('img,table'); }

  // --- selection ---------------------------------------------------------------
  function range() {
    var s = window.getSelection();
    if (!s || !s.rangeCount) return null;
    var r = s.getRangeAt(0);
    return inBody(r.startContainer) && inBody(r.endContainer) ? r : null;
  }
  function select(r) { var s = window.getSelection(); s.removeAllRanges(); s.addRange(r); }
  function setSel(sc, so, ec, eo) {
    try {
      var r = document.createRange();
      r.setStart(sc, Math.min(so, len(sc)));
      r.setEnd(ec, Math.min(eo, len(ec)));
      select(r);
      return true;
    } catch (e) { return false; }
  }
  function caretAt(n, o) { return setSel(n, o, n, o); }
  function caretAfter(n) {
    if (n.nodeType === 3) return caretAt(n, n.data.length);
    return caretAt(n.parentNode, indexOf(n) + 1);
  }
  function caretInto(el, atEnd) {
    var w = document.createTreeWalker(el, NodeFilter.SHOW_TEXT), t, pick = null;
    while ((t = w.nextNode())) { pick = t; if (!atEnd) break; }
    if (pick) return caretAt(pick, atEnd ? pick.data.length : 0);
    return caretAt(el, atEnd ? el.childNodes.length : 0);
  }
  // After a block went away: the caret goes to the start of the next block,
  // or the end of the one before, so that typing never lands in the BODY.
  function caretNear(parent, idx) {
    var next = parent.childNodes[idx] || null, prev = idx > 0 ? parent.childNodes[idx - 1] : null;
    if (next && isEl(next)) return caretInto(next, false);
    if (prev && isEl(prev)) return caretInto(prev, true);
    return caretAt(parent, Math.min(idx, parent.childNodes.length));
  }
  function controlOf(r) {
    if (!r || r.collapsed) return null;
    if (r.startContainer === r.endContainer && isEl(r.startContainer) && r.endOffset - r.startOffset === 1) {
      var n = r.startContainer.childNodes[r.startOffset];
      if (tag(n) === 'IMG' || tag(n) === 'TABLE') return n;
    }
    return null;
  }
  function selType(r) { if (!r || r.collapsed) return 'None'; return controlOf(r) ? 'Control' : 'Text'; }
  function selElement(r) {
    if (!r) return null;
    var c = controlOf(r);
    if (c) return c;
    var n = r.startContainer;
    return isEl(n) ? n : n.parentNode;
  }
  // A boundary in an element next to text is taken as a boundary in that
  // text, which survives moving nodes around.
  function textPoint(n, o) {
    if (n.nodeType !== 1) return [n, o];
    var after = n.childNodes[o], before = o > 0 ? n.childNodes[o - 1] : null;
    if (after && after.nodeType === 3) return [after, 0];
    if (before && before.nodeType === 3) return [before, before.data.length];
    return [n, o];
  }
  function saveSel() {
    var r = range();
    if (!r) return null;
    var a = textPoint(r.startContainer, r.startOffset), b = textPoint(r.endContainer, r.endOffset);
    return { sc: a[0], so: a[1], ec: b[0], eo: b[1] };
  }
  function restoreSel(s, map) {
    if (!s) return false;
    var sc = (map && map.get(s.sc)) || s.sc, ec = (map && map.get(s.ec)) || s.ec;
    if (!inBody(sc) || !inBody(ec)) return false;
    return setSel(sc, s.so, ec, s.eo);
  }

  // --- the undo history --------------------------------------------------------
  function pathOf(n) {
    var b = body(), p = [];
    while (n && n !== b) { p.unshift(indexOf(n)); n = n.parentNode; }
    return n === b ? p : null;
  }
  function nodeAt(p) {
    var n = body();
    for (var i = 0; n && i < p.length; i++) n = n.childNodes[p[i]];
    return n || null;
  }
  function textBefore(el, node, off) {
    var w = document.createTreeWalker(el, NodeFilter.SHOW_TEXT), t, n = 0;
    while ((t = w.nextNode())) { if (t === node) return n + off; n += t.data.length; }
    return n;
  }
  // A place in the page that outlives re-parsing: the element's path and a
  // character offset in its text, or a child index.
  function pointOf(node, off) {
    if (node.nodeType === 3) { var el = node.parentNode; return { p: pathOf(el), t: textBefore(el, node, off) }; }
    return { p: pathOf(node), o: off };
  }
  function pointAt(pt) {
    if (!pt || !pt.p) return null;
    var n = nodeAt(pt.p);
    if (!n) return null;
    if (pt.o !== undefined) return [n, Math.min(pt.o, n.childNodes.length)];
    var w = document.createTreeWalker(n, NodeFilter.SHOW_TEXT), t, c = pt.t, last = null;
    while ((t = w.nextNode())) { if (c <= t.data.length) return [t, c]; c -= t.data.length; last = t; }
    return last ? [last, last.data.length] : [n, 0];
  }
  function caretKey() {
    var r = range();
    if (!r) return '';
    return JSON.stringify([pointOf(r.startContainer, r.startOffset), pointOf(r.endContainer, r.endOffset)]);
  }
  function snap() {
    var r = range();
    return { html: body().innerHTML, a: r ? pointOf(r.startContainer, r.startOffset) : null,
             f: r ? pointOf(r.endContainer, r.endOffset) : null };
  }
  function restore(s) {
    body().innerHTML = s.html;
    var a = pointAt(s.a), f = pointAt(s.f);
    if (a && f) setSel(a[0], a[1], f[0], f[1]);
    E.typing = null;
  }
  E.record = function (step) {
    if (!body()) return;
    E.undos.push(snap());
    if (E.undos.length > E.limit) E.undos.shift();
    E.redos = [];
    E.last = step || null;
  };
  E.undo = function () {
    if (!E.undos.length) return false;
    E.redos.push(snap());
    restore(E.undos.pop());
    E.last = null;
    return true;
  };
  E.redo = function () {
    if (!E.redos.length) return false;
    E.undos.push(snap());
    restore(E.redos.pop());
    E.last = null;
    return true;
  };
  E.clearHistory = function () { E.undos = []; E.redos = []; E.last = null; E.typing = null; return true; };
  // An empty paragraph keeps a line's height, so that the caret can stand
  // in it (the paragraph behind an inserted table).
  function style() {
    if (!document.head || document.getElementById('quillary-edit-style')) return;
    var s = document.createElement('style');
    s.id = 'quillary-edit-style';
    s.textContent = 'p:empty, dd:empty, li:empty, h1:empty { min-height: 1.2em; }';
    document.head.appendChild(s);
  }
  // A new content of the page starts a new history.
  function hook() {
    style();
    var q = window.__q;
    if (q && !q.__qeHooked && q.setBody) {
      var setBody = q.setBody;
      q.setBody = function () { E.clearHistory(); return setBody.apply(q, arguments); };
      q.__qeHooked = true;
    }
  }

  // Typing of one kind at the place where the last typing ended is one step.
  function groupOf(t) {
    if (t === 'insertText' || t === 'insertReplacementText' || t === 'insertCompositionText') return 'type';
    if (t === 'deleteByDrag' || t === 'insertFromDrop') return 'drag';
    if (t.indexOf('delete') === 0 && t !== 'deleteByCut') return t;
    return null;
  }
  function requestPaste() {
    E.pasteRequested = true;
    // The owner hears of it with the next display note.
    document.dispatchEvent(new Event('selectionchange'));
  }
  document.addEventListener('beforeinput', function (e) {
    var b = body();
    if (!b || !b.isContentEditable) return;
    var t = e.inputType || '';
    if (t === 'historyUndo' || t === 'historyRedo') { e.preventDefault(); return; }
    if (t === 'insertFromPaste' || t === 'insertFromPasteAsQuotation') { e.preventDefault(); requestPaste(); return; }
    var g = groupOf(t);
    if (g && E.last && E.last.group === g && (g === 'drag' || E.last.at === caretKey())) return;
    E.record({ group: g });
  }, true);
  document.addEventListener('input', function () {
    normalize();
    if (E.last) E.last.at = caretKey();
  }, true);
  // The window's own paste command does it; the page's would bring foreign markup.
  document.addEventListener('paste', function (e) {
    var b = body();
    if (!b || !b.isContentEditable) return;
    e.preventDefault();
    requestPaste();
  }, true);

  // --- keys the page answers itself ----------------------------------------------
  function up(n, t) {
    var b = body();
    for (; n && n !== b; n = n.parentNode) if (tag(n) === t) return n;
    return null;
  }
  // Nothing but empty text between the caret and the end of el.
  function atEnd(el, r) {
    var rest = document.createRange();
    rest.selectNodeContents(el);
    rest.setStart(r.endContainer, r.endOffset);
    return rest.toString() === '' && !rest.cloneContents().querySelector('img,table');
  }
  function paragraphAfter(block) {
    var p = document.createElement('p');
    block.parentNode.insertBefore(p, block.nextSibling);
    caretAt(p, 0);
  }
  function changed() {
    E.last = null;
    if (window.__q && window.__q.flush) window.__q.flush();
  }
  document.addEventListener('keydown', function (e) {
    var b = body();
    if (!b || !b.isContentEditable || e.ctrlKey || e.altKey || e.metaKey) return;
    var r = range();
    if (e.key === 'Tab') {
      // Tab never leaves the surface; in a table it goes from cell to cell.
      e.preventDefault();
      var cell = r && (up(r.startContainer, 'TD') || up(r.startContainer, 'TH'));
      var table = cell && up(cell, 'TABLE');
      if (!table) return;
      var cells = Array.prototype.slice.call(table.querySelectorAll('td,th'));
      var to = cells[cells.indexOf(cell) + (e.shiftKey ? -1 : 1)];
      if (to) caretInto(to, true);
      return;
    }
    if (e.key !== 'Enter' || e.shiftKey || !r || !r.collapsed) return;
    // Enter at the end of a paragraph header: on into the paragraph's text,
    // or a plain paragraph after it when it has none.
    var u = up(r.startContainer, 'U');
    if (u && tag(u.parentNode) === 'P' && atEnd(u, r)) {
      e.preventDefault();
      var para = u.parentNode, after = document.createRange();
      after.setStartAfter(u);
      after.collapse(true);
      if (!atEnd(para, after)) {
        caretAt(para, indexOf(u) + 1);
        return;
      }
      E.record(null);
      paragraphAfter(para);
      changed();
      return;
    }
    // Enter on an empty last line of a note ends the note.
    var dd = up(r.startContainer, 'DD');
    var dl = dd && dd.parentNode;
    if (dd && tag(dl) === 'DL' && blank(dd) && !sibling(dd, true) && sibling(dd, false)) {
      e.preventDefault();
      E.record(null);
      dl.removeChild(dd);
      paragraphAfter(dl);
      changed();
    }
  }, true);

  // The surface's bold is STRONG; styled SPANs of joined blocks dissolve.
  function normalize() {
    var b = body();
    if (!b) return;
    var list = b.querySelectorAll('b, span');
    if (!list.length) return;
    var s = saveSel(), map = new Map();
    for (var i = 0; i < list.length; i++) {
      var el = list[i];
      if (!el.parentNode) continue;
      if (tag(el) === 'B') {
        var st = document.createElement('strong');
        while (el.firstChild) st.appendChild(el.firstChild);
        el.parentNode.replaceChild(st, el);
        map.set(el, st);
      } else {
        while (el.firstChild) el.parentNode.insertBefore(el.firstChild, el);
        el.parentNode.removeChild(el);
      }
    }
    restoreSel(s, map);
  }

  // --- facts ---------------------------------------------------------------------
  function ref(n) { E.refs.push(n); return E.refs.length - 1; }
  function hasChild(n, t) {
    for (var c = n.firstChild; c; c = c.nextSibling) if (tag(c) === t) return true;
    return false;
  }
  function describe(n) {
    var a = n.nextElementSibling, b = a ? a.nextElementSibling : null, t = tag(n);
    var d = {};
    d[N.ref] = ref(n); d[N.tag] = t; d[N.title] = attr(n, 'title'); d[N.cls] = attr(n, 'class');
    d[N.name] = attr(n, 'name'); d[N.href] = attr(n, 'href'); d[N.target] = attr(n, 'target');
    d[N.align] = attr(n, 'align'); d[N.border] = attr(n, 'border');
    d[N.children] = n.childNodes.length; d[N.empty] = t !== 'BODY' && blank(n);
    d[N.prev] = kind(sibling(n, false)); d[N.next] = kind(sibling(n, true)); d[N.first] = kind(firstReal(n));
    d[N.nextTag] = tag(a); d[N.nextTitle] = attr(a, 'title'); d[N.next2Tag] = tag(b); d[N.next2Title] = attr(b, 'title');
    d[N.anchors] = t === 'BODY' ? 0 : n.querySelectorAll('a[name]:not([name=""])').length;
    d[N.hasImg] = hasChild(n, 'IMG'); d[N.hasTable] = hasChild(n, 'TABLE');
    if (t === 'A' || t === 'U' || t === 'STRONG') d[N.text] = n.textContent;
    return d;
  }
  function cssHas(cmd, el) {
    if (!isEl(el)) return false;
    var cs = getComputedStyle(el);
    if (cmd === 'bold') return parseInt(cs.fontWeight, 10) >= 600;
    return (cs.textDecorationLine || '').indexOf('underline') >= 0;
  }
  // Latched: in the element, or switched on for the next typing; bold or
  // underline that only the style sheet gives (headings, header rows) is not.
  function styleState(cmd, tags, el) {
    if (E.typing && E.typing.at === caretKey() && E.typing[cmd] !== undefined) return E.typing[cmd];
    for (var n = el; n && n !== body(); n = n.parentNode) if (tags.indexOf(tag(n)) >= 0) return true;
    var q = false;
    try { q = document.queryCommandState(cmd); } catch (e) { q = false; }
    return q && !cssHas(cmd, el);
  }
  function tableFacts(td) {
    var tr = td.parentNode, table = td.closest ? td.closest('table') : null;
    if (!table || tag(tr) !== 'TR') return null;
    var rows = [], R = K.row, T = K.table;
    for (var i = 0; i < table.rows.length; i++) {
      var r = {};
      r[R.cells] = table.rows[i].cells.length;
      r[R.header] = table.rows[i].className === 'header';
      rows.push(r);
    }
    var wrapper = isWrapper(table.parentNode) ? table.parentNode : null, out = {};
    out[T.tableRef] = ref(table); out[T.wrapperRef] = wrapper ? ref(wrapper) : -1;
    out[T.border] = attr(table, 'border'); out[T.rows] = rows; out[T.row] = tr.rowIndex; out[T.col] = td.cellIndex;
    return out;
  }
  E.facts = function () {
    hook();
    E.refs = [];
    var F = K.facts, b = body(), out = {}, chain = [], kids = {};
    out[F.ok] = !!b;
    if (!b) return out;
    var r = range(), el = selElement(r);
    out[F.editable] = b.isContentEditable; out[F.hasSel] = !!r; out[F.selType] = selType(r);
    out[F.chain] = chain; out[F.kids] = kids; out[F.bold] = false; out[F.underline] = false;
    out[F.canUndo] = E.undos.length > 0; out[F.canRedo] = E.redos.length > 0;
    out[F.pasteRequested] = E.pasteRequested; out[F.selText] = r ? window.getSelection().toString() : '';
    E.pasteRequested = false;
    if (!el) return out;
    var seen = {}, td = null;
    for (var n = el, i = 0; n && isEl(n); n = n.parentNode, i++) {
      chain.push(describe(n));
      var t = tag(n);
      if ((t === 'LI' || t === 'DD' || t === 'H1' || t === 'TD') && !seen[t]) {
        seen[t] = true;
        var list = [];
        for (var c = n.firstElementChild; c; c = c.nextElementSibling) list.push(describe(c));
        kids[i] = list;
        if (t === 'TD' && !td) td = n;
      }
      if (n === b) break;
    }
    out[F.bold] = styleState('bold', ['STRONG', 'B'], el);
    out[F.underline] = styleState('underline', ['U'], el);
    if (td) { var tf = tableFacts(td); if (tf) out[F.table] = tf; }
    return out;
  };

  // --- surgery -----------------------------------------------------------------------
  function unwrap(el) {
    var p = el.parentNode;
    if (!p) return false;
    var s = saveSel(), idx = indexOf(el), count = el.childNodes.length;
    function fix(c, o) {
      if (c === el) return [p, idx + o];
      if (c === p && o > idx) return [p, o + count - 1];
      return [c, o];
    }
    while (el.firstChild) p.insertBefore(el.firstChild, el);
    p.removeChild(el);
    if (s) { var a = fix(s.sc, s.so), f = fix(s.ec, s.eo); setSel(a[0], a[1], f[0], f[1]); }
    return true;
  }
  function drop(el) {
    var p = el.parentNode;
    if (!p) return false;
    var s = saveSel(), idx = indexOf(el);
    var inside = s && (el.contains(s.sc) || el.contains(s.ec));
    p.removeChild(el);
    if (inside) caretNear(p, idx); else restoreSel(s);
    return true;
  }
  function removeObject(el) {
    var p = el.parentNode;
    if (!p) return false;
    var idx = indexOf(el), block = !!BLOCK_LEVEL[tag(el)];
    p.removeChild(el);
    if (block) caretNear(p, idx); else caretAt(p, Math.min(idx, p.childNodes.length));
    return true;
  }
  function nbspParagraph() {
    var p = document.createElement('p');
    p.appendChild(document.createTextNode('\u00a0'));
    return p;
  }

  // The child of the nearest container on the way up from n; null when n is
  // the container itself.
  function topBelowContainer(n) {
    var top = null;
    for (; n && n !== body(); n = n.parentNode) {
      if (isEl(n) && CONTAINERS[tag(n)]) return top;
      top = n;
    }
    return top;
  }
  // Inserts HTML at the selection, replacing it. Blocks split the block at
  // the caret; with merge, the first and last pasted paragraphs join the
  // text on either side.
  function pasteHTML(html, merge) {
    var b = body(), r = range();
    if (!r) { r = document.createRange(); r.selectNodeContents(b); r.collapse(false); }
    if (!r.collapsed) r.deleteContents();
    var frag = r.createContextualFragment(html);
    var tops = Array.prototype.slice.call(frag.childNodes);
    if (!tops.length) return true;
    var last = tops[tops.length - 1], first = tops[0];
    var blocky = tops.some(function (n) { return !!BLOCK_LEVEL[tag(n)]; });
    var node = r.startContainer, off = r.startOffset;
    var top = blocky ? topBelowContainer(node) : null;
    if (!top) {
      r.insertNode(frag);
    } else if (isWrapper(top)) {
      top.parentNode.insertBefore(frag, top.nextSibling);
    } else if (top.nodeType === 3) {
      var rest = node === top ? top.splitText(off) : top.nextSibling;
      top.parentNode.insertBefore(frag, rest);
    } else {
      var cut = document.createRange();
      cut.setStart(node, off);
      cut.setEnd(top, top.childNodes.length);
      var right = top.cloneNode(false);
      right.appendChild(cut.extractContents());
      top.parentNode.insertBefore(right, top.nextSibling);
      top.parentNode.insertBefore(frag, right);
      var plain = function (n) { return tag(n) === 'P' && !isWrapper(n) && tag(top) === 'P' && !isWrapper(top); };
      var leftBlank = blank(top), rightBlank = blank(right), target = last;
      if (merge && !leftBlank && plain(first)) {
        while (first.firstChild) top.appendChild(first.firstChild);
        first.parentNode.removeChild(first);
        if (last === first) target = top;
      }
      if (merge && !rightBlank && (plain(target) || target === top)) {
        var mark = target.lastChild;
        while (right.firstChild) target.appendChild(right.firstChild);
        right.parentNode.removeChild(right);
        if (mark) caretAfter(mark); else caretInto(target, false);
        if (leftBlank && top.parentNode) top.parentNode.removeChild(top);
        return true;
      }
      if (leftBlank && top.parentNode) top.parentNode.removeChild(top);
      if (rightBlank && right.parentNode) right.parentNode.removeChild(right);
      if (target === top) { caretInto(top, true); return true; }
    }
    if (tag(last) === 'P' && !last.firstChild && live(last)) caretAt(last, 0);
    else if (live(last)) caretAfter(last);
    return true;
  }

  // --- block and list commands ----------------------------------------------------------
  function formatBlockOf(n) {
    for (; n && n !== body(); n = n.parentNode) {
      var t = tag(n);
      if (t === 'TD' || t === 'TH') return null;
      if (FORMAT_BLOCKS[t]) return isWrapper(n) ? 'wrapper' : n;
    }
    return null;
  }
  // Text that stands in the BODY or a cell gets a paragraph of its own.
  function wrapRun(node, off) {
    var c = node;
    while (c && !(isEl(c) && (c === body() || tag(c) === 'TD' || tag(c) === 'TH'))) c = c.parentNode;
    if (!c) return null;
    var at = node;
    if (node === c) at = c.childNodes[off] || c.childNodes[off - 1] || null;
    else while (at.parentNode !== c) at = at.parentNode;
    var p = document.createElement('p');
    if (!at || BLOCK_LEVEL[tag(at)]) {
      p.appendChild(document.createElement('br'));
      c.insertBefore(p, at && node === c ? c.childNodes[off] || null : at);
      caretAt(p, 0);
      return p;
    }
    var start = at, end = at;
    while (start.previousSibling && !BLOCK_LEVEL[tag(start.previousSibling)]) start = start.previousSibling;
    while (end.nextSibling && !BLOCK_LEVEL[tag(end.nextSibling)]) end = end.nextSibling;
    c.insertBefore(p, start);
    var n = start;
    while (n) { var next = n === end ? null : n.nextSibling; p.appendChild(n); n = next; }
    return p;
  }
  function blocksInRange(r) {
    var out = [];
    function add(x) { if (x && x !== 'wrapper' && out.indexOf(x) < 0) out.push(x); }
    var first = formatBlockOf(r.startContainer);
    if (!first) {
      var s = saveSel();
      first = wrapRun(r.startContainer, r.startOffset);
      if (s && first && first.contains(s.sc)) restoreSel(s);
      r = range() || r;
    }
    add(first);
    if (!r.collapsed) {
      var root = r.commonAncestorContainer;
      if (root.nodeType !== 1) root = root.parentNode;
      var w = document.createTreeWalker(root, NodeFilter.SHOW_TEXT), t;
      while ((t = w.nextNode())) if (t.data.length && r.intersectsNode(t)) add(formatBlockOf(t));
    }
    return out;
  }
  function lonely(el) {
    for (var c = el.firstChild; c; c = c.nextSibling) if (c.nodeType === 1 || (c.nodeType === 3 && c.data.trim() !== '')) return false;
    return true;
  }
  // Takes n out of the list or notice it stands in, splitting that in two.
  function takeOut(n) {
    var host = n.parentNode, ht = tag(host);
    if (ht !== 'UL' && ht !== 'OL' && ht !== 'DL') return;
    var after = host.cloneNode(false);
    while (n.nextSibling) after.appendChild(n.nextSibling);
    host.parentNode.insertBefore(n, host.nextSibling);
    if (!lonely(after)) n.parentNode.insertBefore(after, n.nextSibling);
    if (lonely(host)) host.parentNode.removeChild(host);
  }
  function retag(b, t, map) {
    if (tag(b) === t) return b;
    var n = document.createElement(t.toLowerCase());
    while (b.firstChild) n.appendChild(b.firstChild);
    b.parentNode.replaceChild(n, b);
    map.set(b, n);
    return n;
  }
  function setBlock(fmt) {
    var r = range();
    if (!r) return false;
    var blocks = blocksInRange(r), s = saveSel(), map = new Map(), dl = null;
    blocks.forEach(function (b) {
      if (fmt === 'DD' && tag(b) === 'DD' && tag(b.parentNode) === 'DL') { dl = b.parentNode; return; }
      var n = retag(b, fmt, map);
      if (fmt !== 'DD' || tag(n.parentNode) !== 'DL') takeOut(n);
      if (fmt === 'DD' && tag(n.parentNode) !== 'DL') {
        if (dl && sibling(n, false) === dl) dl.appendChild(n);
        else { dl = document.createElement('dl'); n.parentNode.insertBefore(dl, n); dl.appendChild(n); }
      }
    });
    // A paragraph made a note next to a note joins it.
    if (dl) joinLists(dl);
    restoreSel(s, map);
    return true;
  }
  function joinLists(list) {
    var prev = sibling(list, false);
    if (prev && tag(prev) === tag(list)) {
      while (list.firstChild) prev.appendChild(list.firstChild);
      list.parentNode.removeChild(list);
      list = prev;
    }
    var next = sibling(list, true);
    if (next && tag(next) === tag(list)) {
      while (next.firstChild) list.appendChild(next.firstChild);
      next.parentNode.removeChild(next);
    }
  }
  function setList(type) {
    var r = range();
    if (!r) return false;
    var blocks = blocksInRange(r), s = saveSel(), map = new Map(), made = null;
    blocks.forEach(function (b) {
      if (tag(b) === 'LI' && tag(b.parentNode) === type) { made = b.parentNode; return; }
      var li = retag(b, 'LI', map);
      takeOut(li);
      if (made && sibling(li, false) === made) made.appendChild(li);
      else { made = document.createElement(type.toLowerCase()); li.parentNode.insertBefore(made, li); made.appendChild(li); }
    });
    if (made) joinLists(made);
    restoreSel(s, map);
    return true;
  }

  // --- copy ------------------------------------------------------------------------------
  function atEdge(blk, node, off, end) {
    var t = document.createRange();
    if (end) { t.setStart(node, off); t.setEnd(blk, blk.childNodes.length); }
    else { t.setStart(blk, 0); t.setEnd(node, off); }
    return t.toString() === '' && !t.cloneContents().querySelector('img,table');
  }
  // A selection of a whole paragraph, notice or list takes the element along,
  // as its attributes belong to what was copied.
  function copyRange(r) {
    var c = r.cloneRange();
    for (var guard = 0; guard < 8; guard++) {
      var n = c.commonAncestorContainer;
      if (n.nodeType !== 1) n = n.parentNode;
      while (n && n !== body() && !WIDEN[tag(n)] && tag(n) !== 'TD') n = n.parentNode;
      if (!n || n === body() || tag(n) === 'TD') break;
      if (!atEdge(n, c.startContainer, c.startOffset, false) || !atEdge(n, c.endContainer, c.endOffset, true)) break;
      if (c.startContainer === n.parentNode && c.endContainer === n.parentNode) break;
      c.selectNode(n);
    }
    return c;
  }
  E.copyInfo = function () {
    var r = range();
    var C = K.copy, out = {};
    out[C.text] = ''; out[C.html] = '';
    if (!r || r.collapsed) return out;
    var d = document.createElement('div');
    d.appendChild(copyRange(r).cloneContents());
    out[C.text] = window.getSelection().toString(); out[C.html] = d.innerHTML;
    return out;
  };

  // --- operations -----------------------------------------------------------------------------
  function cell(table, row, col) {
    var tr = table.rows[Math.max(0, Math.min(row, table.rows.length - 1))];
    if (!tr || !tr.cells.length) return null;
    return tr.cells[Math.max(0, Math.min(col, tr.cells.length - 1))];
  }
  function caretInCell(table, row, col) { var c = cell(table, row, col); if (c) caretInto(c, false); }
  function newCell(cls) { var td = document.createElement('td'); if (cls) td.className = cls; return td; }
  // The end of a text position just before (n, o).
  function endPoint(n, o) {
    if (n.nodeType === 3) return [n, o];
    var b = o > 0 ? n.childNodes[o - 1] : null;
    while (b && b.nodeType === 1) b = b.lastChild;
    return b && b.nodeType === 3 ? [b, b.data.length] : [n, o];
  }
  function moveEndBack() {
    var r = range();
    if (!r || r.collapsed) return false;
    var p = endPoint(r.endContainer, r.endOffset);
    if (p[0].nodeType === 3 && p[1] > 0) {
      var c = r.cloneRange();
      c.setEnd(p[0], p[1] - 1);
      if (c.collapsed) return false;
      select(c);
      return true;
    }
    var s = window.getSelection();
    s.setBaseAndExtent(r.startContainer, r.startOffset, r.endContainer, r.endOffset);
    s.modify('extend', 'backward', 'character');
    return true;
  }
  // The image around the caret, for the Image command's edit.
  E.imageInfo = function () {
    var el = selElement(range()), w = null;
    for (var n = el; n && n !== body(); n = n.parentNode) if (tag(n) === 'P') { w = n; break; }
    if (!w || attr(w, 'title') !== 'image') return {};
    var img = w.querySelector('img'), em = w.querySelector('em'), I = K.image, out = {};
    out[I.src] = attr(img, 'src'); out[I.alt] = attr(img, 'alt'); out[I.scale] = attr(img, 'scale');
    out[I.cls] = attr(w, 'class'); out[I.caption] = em ? em.textContent : '';
    return out;
  };
  var OPS = {
    strip: function (o, el) { return live(el) && unwrap(el); },
    drop: function (o, el) { return live(el) && drop(el); },
    stripNamedAnchorsIn: function (o, el) {
      if (!live(el)) return false;
      var l = el.querySelectorAll('a[name]:not([name=""])');
      for (var i = 0; i < l.length; i++) unwrap(l[i]);
      return true;
    },
    stripItemsIn: function (o, el) {
      if (!live(el)) return false;
      var l = el.querySelectorAll('li, dd');
      for (var i = 0; i < l.length; i++) unwrap(l[i]);
      return true;
    },
    undo: function (o) {
      if (E.undo()) return 'undone';
      // Nothing to undo: repair instead.
      if (o[A.fallback] === K.fallbacks.ops && o[A.ops]) { E.record(null); runOps(o[A.ops]); return 'repaired'; }
      if (o[A.fallback] === K.fallbacks.behindCaption) {
        var em = E.refs[o[A.em]];
        if (!live(em) || !live(em.parentNode)) return false;
        var wrap = em.parentNode, p = document.createElement('p');
        while (em.nextSibling) p.appendChild(em.nextSibling);
        wrap.parentNode.insertBefore(p, wrap.nextSibling);
        caretInto(p, true);
        return 'repaired';
      }
      return false;
    },
    redo: function () { return E.redo(); },
    setAttr: function (o, el) { if (!live(el)) return false; el.setAttribute(o[A.name], o[A.value]); return true; },
    removeAttr: function (o, el) { if (!live(el)) return false; el.removeAttribute(o[A.name]); return true; },
    unheader: function (o, el) {
      if (!live(el)) return false;
      var text = el.textContent, r = range(), off = -1;
      if (r && el.contains(r.startContainer) && r.startContainer.nodeType === 3) off = textBefore(el, r.startContainer, r.startOffset);
      var p = el.parentNode, idx = indexOf(el);
      if (text === '') { p.removeChild(el); caretAt(p, Math.min(idx, p.childNodes.length)); return true; }
      var tn = document.createTextNode(text);
      p.replaceChild(tn, el);
      caretAt(tn, off >= 0 ? Math.min(off, text.length) : text.length);
      return true;
    },
    blankWrapper: function (o, el) {
      if (!live(el)) return false;
      var p = nbspParagraph();
      el.parentNode.replaceChild(p, el);
      // The blank is selected, so that typing replaces it.
      setSel(p.firstChild, 0, p.firstChild, 1);
      return true;
    },
    captionToP: function (o, el) {
      if (!live(el)) return false;
      var em = E.refs[o[A.em]], p = document.createElement('p');
      if (em && em.firstChild) p.appendChild(em.firstChild);
      el.parentNode.replaceChild(p, el);
      caretInto(p, true);
      return true;
    },
    mergeSplitTable: function (o, el) {
      if (!live(el)) return false;
      var a = el.nextElementSibling, b = a ? a.nextElementSibling : null;
      if (!a || !b || attr(a, 'title') !== 'table' || attr(b, 'title') !== 'table') return false;
      if (b.firstChild) a.appendChild(b.firstChild);
      b.parentNode.removeChild(b);
      return true;
    },
    removeObject: function (o, el) { return live(el) && removeObject(el); },
    paragraphAfter: function (o, el) {
      if (!live(el)) return false;
      var p = document.createElement('p');
      el.parentNode.insertBefore(p, el.nextSibling);
      return caretAt(p, 0);
    },
    paste: function (o) { return pasteHTML(o[A.html] || '', !!o[A.merge]); },
    block: function (o) { return setBlock(o[A.format]); },
    list: function (o) { return setList(o[A.type]); },
    native: function (o) {
      var r = range(), collapsed = !r || r.collapsed, ok = false;
      try { ok = document.execCommand(o[A.command], false, o[A.value] === undefined ? null : o[A.value]); } catch (e) { ok = false; }
      normalize();
      if (collapsed && (o[A.command] === 'bold' || o[A.command] === 'underline')) {
        var at = caretKey();
        if (!E.typing || E.typing.at !== at) E.typing = { at: at };
        E.typing[o[A.command]] = document.queryCommandState(o[A.command]);
      }
      return ok;
    },
    moveEndBack: function () { return moveEndBack(); },
    insertRow: function (o, table) {
      if (!live(table)) return false;
      var before = table.rows[o[A.index]];
      if (!before) return false;
      var tr = document.createElement('tr');
      for (var i = 0; i < o[A.cells]; i++) tr.appendChild(newCell(o[A.cellClass]));
      before.parentNode.insertBefore(tr, before);
      caretInCell(table, o[A.caretRow], o[A.caretCol]);
      return true;
    },
    deleteRow: function (o, table) {
      if (!live(table) || !table.rows[o[A.index]]) return false;
      var tr = table.rows[o[A.index]];
      tr.parentNode.removeChild(tr);
      caretInCell(table, o[A.caretRow], o[A.caretCol]);
      return true;
    },
    insertColumn: function (o, table) {
      if (!live(table)) return false;
      for (var i = 0; i < table.rows.length; i++) {
        var tr = table.rows[i], at = tr.cells[o[A.index]] || null;
        tr.insertBefore(newCell(o[A.cellClass]), at);
      }
      caretInCell(table, o[A.caretRow], o[A.caretCol]);
      return true;
    },
    deleteColumn: function (o, table) {
      if (!live(table)) return false;
      for (var i = table.rows.length - 1; i >= 0; i--) {
        var tr = table.rows[i];
        if (tr.cells[o[A.index]]) tr.removeChild(tr.cells[o[A.index]]);
        if (!tr.cells.length) tr.parentNode.removeChild(tr);
      }
      caretInCell(table, o[A.caretRow], o[A.caretCol]);
      return true;
    },
    deleteSelection: function () {
      var ok = false;
      try { ok = document.execCommand('delete', false, null); } catch (e) { ok = false; }
      normalize();
      return ok;
    }
  };
  // The operations by the names the owner sends.
  var BY_NAME = {};
  Object.keys(OPS).forEach(function (k) { if (OP[k]) BY_NAME[OP[k]] = OPS[k]; });
  function runOps(ops) {
    var results = [];
    for (var i = 0; i < ops.length; i++) {
      var o = ops[i], f = BY_NAME[o[K.command.op]];
      var el = o[K.command.ref] !== undefined && o[K.command.ref] !== null ? E.refs[o[K.command.ref]] : null;
      var res = false;
      try { res = f ? f(o, el) : false; } catch (e) { res = false; }
      results.push(res);
    }
    return results;
  }
  // Runs operations; with record they are one step of the undo history.
  E.run = function (ops, record) {
    var out = {};
    out[K.run.ok] = false;
    if (!body()) return out;
    hook();
    if (record) E.record(null);
    var results = runOps(ops || []);
    E.last = null;
    if (window.__q && window.__q.flush) window.__q.flush();
    out[K.run.ok] = true;
    out[K.run.results] = results;
    return out;
  };
  // --- the spelling walk ---------------------------------------------------------
  // Runs of adjacent text nodes, in document order; reading them changes
  // nothing, a run is joined into its first node only when written.
  var SP = K.spell;
  E.spellRuns = [];
  E.textRuns = function () {
    var b = body(), out = [];
    E.spellRuns = [];
    if (!b) return out;
    (function walk(n) {
      for (var c = n.firstChild; c; c = c.nextSibling) {
        if (c.nodeType === 3) {
          var nodes = [c], text = c.data;
          while (c.nextSibling && c.nextSibling.nodeType === 3) { c = c.nextSibling; nodes.push(c); text += c.data; }
          var item = {};
          item[SP.id] = E.spellRuns.length;
          item[SP.text] = text;
          E.spellRuns.push(nodes);
          out.push(item);
        } else if (c.nodeType === 1 && c.firstChild) {
          walk(c);
        }
      }
    })(b);
    return out;
  };
  // The text of the run's element is selected while the dialog asks.
  E.selectRun = function (id) {
    var nodes = E.spellRuns[id];
    if (!nodes || !inBody(nodes[0])) return false;
    var p = nodes[0].parentNode, r = document.createRange();
    r.selectNodeContents(p);
    select(r);
    if (p.scrollIntoView) p.scrollIntoView({ block: 'nearest' });
    return true;
  };
  E.collapseSelection = function () {
    var s = window.getSelection();
    if (s && s.rangeCount) s.collapseToStart();
    return true;
  };
  E.writeRun = function (id, text) {
    var nodes = E.spellRuns[id];
    if (!nodes || !inBody(nodes[0])) return false;
    hook();
    E.record(null);
    nodes[0].data = text;
    for (var i = 1; i < nodes.length; i++) if (nodes[i].parentNode) nodes[i].parentNode.removeChild(nodes[i]);
    E.spellRuns[id] = [nodes[0]];
    E.last = null;
    if (window.__q && window.__q.flush) window.__q.flush();
    return true;
  };
  // The selected text replaced by plain text, the caret behind it.
  E.replaceSelection = function (text) {
    var r = range();
    if (!r || r.collapsed) return false;
    hook();
    E.record(null);
    r.deleteContents();
    var t = document.createTextNode(text);
    r.insertNode(t);
    caretAfter(t);
    E.last = null;
    if (window.__q && window.__q.flush) window.__q.flush();
    return true;
  };
  // The topic's title, selected for renaming.
  E.selectTitle = function () {
    var b = body(), h = b && b.querySelector('h1');
    if (!h) return false;
    var r = document.createRange();
    r.selectNodeContents(h);
    select(r);
    if (h.scrollIntoView) h.scrollIntoView({ block: 'nearest' });
    return true;
  };
  // The n-th hit (from 0) of a search in the title or in the text below it.
  // Blocks are apart, so no hit runs from one paragraph into the next.
  E.selectHit = function (needle, n, matchCase, wholeWord, inTitle) {
    var b = body();
    if (!b || !needle) return false;
    var nodes = [], starts = [], text = '', lastBlock = null;
    (function walk(e) {
      for (var c = e.firstChild; c; c = c.nextSibling) {
        if (c.nodeType === 3) {
          var blk = c.parentNode;
          while (blk && blk !== b && !BLOCK_LEVEL[tag(blk)]) blk = blk.parentNode;
          var title = !!blk && tag(blk) === 'H1';
          if (title !== !!inTitle) continue;
          if (lastBlock !== null && blk !== lastBlock) text += '\n';
          lastBlock = blk;
          nodes.push(c); starts.push(text.length); text += c.data;
        } else if (c.nodeType === 1) {
          // Anchor names and local link labels are the page's, not the text's.
          if (tag(c) === 'A' && (attr(c, 'class') === 'anchor' || attr(c, 'target') === 'local')) continue;
          walk(c);
        }
      }
    })(b);
    var hay = matchCase ? text : text.toLowerCase(), want = matchCase ? needle : needle.toLowerCase();
    var wordChar = /[\p{L}\p{N}_]/u;
    var from = 0, found = -1, seen = 0;
    while ((found = hay.indexOf(want, from)) >= 0) {
      var end = found + want.length;
      var whole = !wholeWord || ((found === 0 || !wordChar.test(hay[found - 1])) &&
                                 (end >= hay.length || !wordChar.test(hay[end])));
      if (whole && seen++ === n) break;
      from = found + 1;
    }
    if (found < 0) return false;
    function at(pos, isEnd) {
      for (var i = nodes.length - 1; i >= 0; --i)
        if (starts[i] < pos || (!isEnd && starts[i] === pos)) return [nodes[i], Math.min(pos - starts[i], nodes[i].data.length)];
      return [nodes[0], 0];
    }
    var a = at(found, false), z = at(found + want.length, true), r = document.createRange();
    r.setStart(a[0], a[1]);
    r.setEnd(z[0], z[1]);
    select(r);
    var el = a[0].parentNode;
    if (el && el.scrollIntoView) el.scrollIntoView({ block: 'center' });
    return true;
  };
  hook();
})();
true;
