// What the window's context menu needs from the page, at window.quillary.
(function () {
  var Q = window.quillary = window.quillary || {};
  if (Q.kindAt) return;

  // What lies at a point of the view: 'link', 'image', 'text' (a selection) or ''.
  Q.kindAt = function (x, y) {
    var e = document.elementFromPoint(x, y);
    if (e) {
      var a = e.closest('a');
      if (a && a.getAttribute('href')) return 'link';
      var p = e.closest('p');
      if (p && p.getAttribute('title') === 'image') return 'image';
    }
    var s = getSelection();
    return s && s.rangeCount > 0 && !s.isCollapsed ? 'text' : '';
  };

  // Puts the caret into the link or image at a point, so that the editing
  // commands act on it.
  Q.caretAt = function (x, y) {
    var e = document.elementFromPoint(x, y);
    if (!e) return false;
    var t = e.closest('a') || e.closest('p[title=image]');
    if (!t) return false;
    var r = document.createRange();
    r.selectNodeContents(t);
    r.collapse(true);
    var s = getSelection();
    s.removeAllRanges();
    s.addRange(r);
    return true;
  };
})();
true;
