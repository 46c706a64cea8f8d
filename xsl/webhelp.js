/* Web help pages: the sidebar, breadcrumbs, previous/next and the search
   box, built from the book's contents (toc.js: QH_TOC) and, on the first
   search, the index (search-index.js). Runs from file:// and from any
   static server: data comes as scripts, never by fetch. */
(function () {
  'use strict';
  var doc = document;
  doc.documentElement.className += ' qh-js';

  var texts = {
    en: { search: 'Search', results: 'Results for', none: 'Nothing found for', loading: 'Loading the search…',
          prev: 'Previous', next: 'Next', contents: 'Contents', index: 'Index', close: 'Close' },
    de: { search: 'Suchen', results: 'Ergebnisse für', none: 'Nichts gefunden für', loading: 'Die Suche wird geladen…',
          prev: 'Zurück', next: 'Weiter', contents: 'Inhalt', index: 'Stichwortverzeichnis', close: 'Schließen' }
  };
  var lang = (doc.documentElement.getAttribute('lang') || 'en').slice(0, 2).toLowerCase();
  var T = texts[lang] || texts.en;

  function el(name, attrs, text) {
    var e = doc.createElement(name);
    for (var k in attrs || {})
      e.setAttribute(k, attrs[k]);
    if (text !== undefined)
      e.textContent = text;
    return e;
  }

  function pageName(href) {
    var h = String(href || '').split('#')[0].split('?')[0];
    return decodeURIComponent(h.substring(h.lastIndexOf('/') + 1)) || 'index.html';
  }

  var toc = window.QH_TOC;
  var here = pageName(location.pathname);
  var flat = [];   // every entry in reading order
  var trail = [];  // the entries from the book down to this page

  function walk(node, parents) {
    node.parents = parents;
    flat.push(node);
    if (pageName(node.h) === here && !trail.length)
      trail = parents.concat([node]);
    (node.c || []).forEach(function (child) { walk(child, parents.concat([node])); });
  }

  function depthLimit() {
    var m = doc.querySelector('meta[name="quillary-toc-depth"]');
    var d = m ? parseInt(m.getAttribute('content'), 10) : 10;
    return d > 0 ? d : 10;
  }

  function sidebar() {
    var nav = doc.getElementById('qh-sidebar');
    if (!nav || !toc)
      return;
    var open = {};
    trail.forEach(function (n) { open[n.h] = true; });
    var limit = depthLimit();
    function list(nodes, depth) {
      var ul = el('ul');
      nodes.forEach(function (n) {
        var li = el('li');
        var kids = depth < limit ? (n.c || []) : [];
        var sub = kids.length ? list(kids, depth + 1) : null;
        if (sub) {
          var expanded = !!open[n.h];
          var b = el('button', { type: 'button', 'class': 'qh-toggle', 'aria-expanded': String(expanded),
                                 'aria-label': n.t });
          sub.hidden = !expanded;
          b.addEventListener('click', function () {
            var now = b.getAttribute('aria-expanded') !== 'true';
            b.setAttribute('aria-expanded', String(now));
            sub.hidden = !now;
          });
          li.appendChild(b);
        } else {
          li.appendChild(el('span', { 'class': 'qh-leaf' }));
        }
        var a = el('a', { href: n.h }, n.t);
        if (trail.length && trail[trail.length - 1] === n)
          a.setAttribute('aria-current', 'page');
        li.appendChild(a);
        if (sub)
          li.appendChild(sub);
        ul.appendChild(li);
      });
      return ul;
    }
    nav.appendChild(list([toc], 0));
    var current = nav.querySelector('a[aria-current]');
    if (current && current.scrollIntoView)
      current.scrollIntoView({ block: 'center' });
  }

  function crumbs() {
    var nav = doc.getElementById('qh-crumbs');
    if (!nav || trail.length < 2)
      return;
    trail.forEach(function (n, i) {
      if (i)
        nav.appendChild(el('span', { 'class': 'qh-sep', 'aria-hidden': 'true' }, '›'));
      nav.appendChild(i < trail.length - 1 ? el('a', { href: n.h }, n.t) : el('span', {}, n.t));
    });
  }

  function pager() {
    var nav = doc.getElementById('qh-pager');
    var me = trail[trail.length - 1];
    var i = flat.indexOf(me);
    if (!nav || i < 0)
      return;
    if (i > 0)
      nav.appendChild(el('a', { href: flat[i - 1].h, 'class': 'qh-prev', rel: 'prev' }, '← ' + flat[i - 1].t));
    if (i + 1 < flat.length)
      nav.appendChild(el('a', { href: flat[i + 1].h, 'class': 'qh-next', rel: 'next' }, flat[i + 1].t + ' →'));
  }

  function menu() {
    var button = doc.getElementById('qh-menu');
    if (!button)
      return;
    button.addEventListener('click', function () {
      var open = doc.body.classList.toggle('qh-open');
      button.setAttribute('aria-expanded', String(open));
    });
    doc.getElementById('qh-sidebar').addEventListener('click', function (e) {
      if (e.target.tagName === 'A')
        doc.body.classList.remove('qh-open');
    });
  }

  // Search: lunr and the index arrive as scripts on the first use.
  var searchState = null;
  function loadScript(src, done) {
    var s = el('script', { src: src });
    s.onload = done;
    s.onerror = done;
    doc.head.appendChild(s);
  }

  function whenSearchReady(done) {
    if (searchState === 'ready')
      return done();
    if (searchState)
      return searchState.push(done);
    searchState = [done];
    loadScript('lunr.min.js', function () {
      loadScript('webhelp-search.js', function () {
        loadScript('search-index.js', function () {
          var waiting = searchState;
          if (window.lunr && window.QuillarySearch && window.QH_SEARCH)
            window.QH_SEARCH.idx = window.QuillarySearch.load(window.lunr, window.QH_SEARCH.index);
          searchState = 'ready';
          waiting.forEach(function (f) { f(); });
        });
      });
    });
  }

  // The text around the first word found, with the words marked.
  function snippet(text, words) {
    var lower = text.toLowerCase();
    var at = -1;
    words.forEach(function (w) {
      var i = lower.indexOf(w);
      if (i >= 0 && (at < 0 || i < at))
        at = i;
    });
    var start = Math.max(0, at - 60);
    // From the start of a word.
    while (start > 0 && start < at && !/\s/.test(text.charAt(start - 1)))
      ++start;
    var part = (start ? '…' : '') + text.substr(start, 200) + (start + 200 < text.length ? '…' : '');
    var frag = doc.createDocumentFragment();
    var re = new RegExp('(' + words.map(function (w) { return w.replace(/[.*+?^${}()|[\]\\]/g, '\\$&'); })
                                   .join('|') + ')', 'gi');
    var last = 0;
    part.replace(re, function (m, g, i) {
      frag.appendChild(doc.createTextNode(part.slice(last, i)));
      frag.appendChild(el('mark', {}, m));
      last = i + m.length;
    });
    frag.appendChild(doc.createTextNode(part.slice(last)));
    return frag;
  }

  // The results of a query as [{ref, title, href, path}], best first.
  function find(text) {
    var S = window.QH_SEARCH;
    if (!S || !S.idx)
      return [];
    return window.QuillarySearch.search(window.lunr, S.idx, text).map(function (r) {
      var d = S.docs[r.ref];
      return { ref: r.ref, title: d.t, href: d.h, path: d.p, text: d.s };
    });
  }

  function showResults(text) {
    var box = doc.getElementById('qh-results');
    box.textContent = '';
    box.hidden = false;
    var S = window.QH_SEARCH;
    var words = S ? window.QuillarySearch.words(window.lunr, text) : [];
    var hits = find(text);
    var close = el('button', { type: 'button', 'class': 'qh-toggle qh-close', 'aria-label': T.close });
    close.addEventListener('click', function () { box.hidden = true; });
    close.textContent = '×';
    box.appendChild(close);
    box.appendChild(el('p', {}, (hits.length ? T.results : T.none) + ' "' + text + '"'));
    var ol = el('ol');
    hits.slice(0, 50).forEach(function (h) {
      var li = el('li');
      li.appendChild(el('a', { href: h.href }, h.title));
      if (h.path)
        li.appendChild(el('div', { 'class': 'qh-path' }, h.path));
      var p = el('div', { 'class': 'qh-snippet' });
      p.appendChild(snippet(h.text || '', words));
      li.appendChild(p);
      ol.appendChild(li);
    });
    box.appendChild(ol);
  }

  function searchBox() {
    var form = doc.getElementById('qh-search');
    var input = doc.getElementById('qh-q');
    if (!form || !input)
      return;
    input.placeholder = T.search;
    input.setAttribute('aria-label', T.search);
    input.addEventListener('focus', function () { whenSearchReady(function () {}); });
    form.addEventListener('submit', function (e) {
      e.preventDefault();
      var text = input.value.trim();
      if (!text)
        return;
      whenSearchReady(function () { showResults(text); });
    });
    doc.addEventListener('keydown', function (e) {
      if (e.key === 'Escape')
        doc.getElementById('qh-results').hidden = true;
    });
    // index.html?q=word searches at once; ?context=ID opens the page of a context ID.
    var params = new URLSearchParams(location.search);
    if (params.get('q')) {
      input.value = params.get('q');
      whenSearchReady(function () { showResults(input.value); });
    }
  }

  function contextJump() {
    var id = new URLSearchParams(location.search).get('context');
    if (!id)
      return;
    loadScript('context.js', function () {
      var map = window.QH_CONTEXT;
      if (map && map[id])
        location.replace(map[id]);
    });
  }

  function start() {
    if (toc)
      walk(toc, []);
    sidebar();
    crumbs();
    pager();
    menu();
    searchBox();
    contextJump();
  }

  window.QuillaryHelp = { find: find, whenSearchReady: whenSearchReady, trail: function () { return trail; } };
  if (doc.readyState === 'loading')
    doc.addEventListener('DOMContentLoaded', start);
  else
    start();
})();
