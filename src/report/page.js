// The findings page of msglint-report: draws the summary and the findings
// from the JSON in #findings-data (see src/report/html_page.h for its
// layout). The filters live in the fragment of the page's address
// (#language=ru&level=error), so a view can be bookmarked; only the rows in
// view are in the document, so the page stays light at any size.
(function () {
  'use strict';
  var source = document.getElementById('findings-data');
  var data = JSON.parse(source.textContent);
  // Once read, the text is dropped: the document holds megabytes less, and
  // whatever serialises the document (saving it complete, a headless
  // browser's DOM dump) does not copy the data again.
  source.textContent = '';
  var S = data.strings;
  var F = data.findings;
  // The fields of a finding's row.
  var STATE = 0, LEVEL = 1, KIND = 2, OBJECT = 3, ETYPE = 4, ELEMENT = 5, LANG = 6, MESSAGE = 7,
      SECTION = 8, MFILE = 9, ADD = 10, FILE = 11, LINE = 12, REPORT = 13, COMPARED = 14;
  var STATES = ['new', 'unchanged', 'fixed'];
  var LEVELS = ['error', 'warning', 'note'];
  var KEYS = ['language', 'level', 'kind', 'object', 'search', 'baseline'];
  var ROW = 25;  // pixels of a row, its border included
  var filters = Object.create(null);
  var shown = [];
  var selected = -1;
  var controls = Object.create(null);

  function el(tag, text, cls) {
    var e = document.createElement(tag);
    if (text !== undefined && text !== null) e.textContent = String(text);
    if (cls) e.className = cls;
    return e;
  }
  function append(parent, children) {
    for (var i = 0; i < children.length; i++) parent.appendChild(children[i]);
    return parent;
  }
  function link(text, fragment) {
    var a = el('a', text);
    a.href = '#' + fragment;
    return a;
  }
  function fragmentOf(values) {
    var parts = [];
    KEYS.forEach(function (k) {
      if (values[k]) parts.push(k + '=' + encodeURIComponent(values[k]));
    });
    return parts.join('&');
  }
  function cells(row, values, header) {
    values.forEach(function (v) {
      var c = el(header ? 'th' : 'td');
      if (v instanceof Node) c.appendChild(v); else c.textContent = String(v);
      if (typeof v === 'number') c.className = 'n';
      row.appendChild(c);
    });
    return row;
  }
  function table(id, head, rows) {
    var t = el('table');
    if (id) t.id = id;
    t.appendChild(cells(el('tr'), head, true));
    rows.forEach(function (r) { t.appendChild(cells(el('tr'), r)); });
    return t;
  }
  function percentText(p) { return Number(p).toFixed(1) + '%'; }
  function bar(p) {
    var b = el('div', null, 'bar'), s = el('span');
    s.style.width = Math.max(0, Math.min(100, p)) + '%';
    b.appendChild(s);
    return b;
  }

  // --- The summary -------------------------------------------------------

  function coverage() {
    var rows = data.statistics.map(function (l) {
      return [link(S[l[0]], fragmentOf({language: S[l[0]]})), bar(l[5]), percentText(l[5]), l[1], l[2], l[3], l[4]];
    });
    return table('coverage', ['language', 'coverage', 'percent', 'required', 'present', 'missing', 'empty'], rows);
  }

  function baselineCounts() {
    var order = data.statistics.map(function (l) { return S[l[0]]; });
    var counts = Object.create(null);
    F.forEach(function (f) {
      var lang = S[f[LANG]];
      if (!counts[lang]) { counts[lang] = [0, 0, 0]; if (order.indexOf(lang) < 0 && lang) order.push(lang); }
      counts[lang][f[STATE]]++;
    });
    if (counts['']) order.push('');
    var rows = order.map(function (lang) {
      var c = counts[lang] || [0, 0, 0];
      return [lang || '(no language)', c[0], c[1], c[2]];
    });
    return table('baseline', ['language', 'new', 'unchanged', 'fixed'], rows);
  }

  function kindCounts() {
    var byLevel = Object.create(null), byKind = Object.create(null), kinds = [];
    F.forEach(function (f) {
      if (f[STATE] === 2) return;
      var level = S[f[LEVEL]], kind = S[f[KIND]];
      byLevel[level] = (byLevel[level] || 0) + 1;
      if (!byKind[kind]) { byKind[kind] = 0; kinds.push([kind, level]); }
      byKind[kind]++;
    });
    var rank = function (level) { var i = LEVELS.indexOf(level); return i < 0 ? 3 : i; };
    kinds.sort(function (a, b) {
      return rank(a[1]) - rank(b[1]) || byKind[b[0]] - byKind[a[0]] || (a[0] < b[0] ? -1 : a[0] > b[0] ? 1 : 0);
    });
    var levels = table('levels', ['level', 'findings'], LEVELS.filter(function (l) { return byLevel[l]; }).map(function (l) {
      return [link(l, fragmentOf({level: l})), byLevel[l]];
    }));
    var kindTable = table('kinds', ['kind', 'level', 'findings'], kinds.map(function (k) {
      return [link(k[0], fragmentOf({kind: k[0]})), k[1], byKind[k[0]]];
    }));
    return [levels, kindTable];
  }

  // The objects (forms, lists, the main menu) ranked by their errors, then
  // warnings and notes, with the coverage of each language.
  function objectRanking() {
    var languages = data.statistics.map(function (l) { return S[l[0]]; });
    var objects = Object.create(null), names = [];
    function object(name) {
      if (!objects[name]) { objects[name] = {name: name, counts: [0, 0, 0], cover: Object.create(null)}; names.push(name); }
      return objects[name];
    }
    data.statistics.forEach(function (l) {
      l[6].forEach(function (o) { object(S[o[0]]).cover[S[l[0]]] = o[5]; });
    });
    F.forEach(function (f) {
      if (f[STATE] === 2 || !f[OBJECT]) return;
      var i = LEVELS.indexOf(S[f[LEVEL]]);
      if (i >= 0) object(S[f[OBJECT]]).counts[i]++;
    });
    var ranked = names.map(function (n) { return objects[n]; });
    ranked.sort(function (a, b) {
      return b.counts[0] - a.counts[0] || b.counts[1] - a.counts[1] || b.counts[2] - a.counts[2] ||
             (a.name < b.name ? -1 : a.name > b.name ? 1 : 0);
    });
    return {languages: languages, ranked: ranked};
  }

  function objectRows(ranking, limit) {
    return ranking.ranked.slice(0, limit).map(function (o) {
      var row = [link(o.name, fragmentOf({object: o.name})), o.counts[0], o.counts[1], o.counts[2]];
      ranking.languages.forEach(function (lang) {
        row.push(o.cover[lang] === undefined ? '' : link(percentText(o.cover[lang]), fragmentOf({language: lang, object: o.name})));
      });
      return row;
    });
  }

  function objectsSection(summary) {
    var ranking = objectRanking();
    var head = ['object', 'errors', 'warnings', 'notes'].concat(ranking.languages);
    var wrap = el('div');
    wrap.id = 'objects-wrap';
    var first = 30;
    wrap.appendChild(table('objects', head, objectRows(ranking, first)));
    append(summary, [el('h2', 'Objects by errors'), wrap]);
    if (ranking.ranked.length > first) {
      var more = el('button', 'Show all ' + ranking.ranked.length + ' objects');
      more.type = 'button';
      more.onclick = function () {
        wrap.replaceChild(table('objects', head, objectRows(ranking, ranking.ranked.length)), wrap.firstChild);
        more.remove();
      };
      summary.appendChild(append(el('p'), [more]));
    }
  }

  function drawSummary() {
    var summary = document.getElementById('summary');
    var run = el('p', 'Run: ');
    run.appendChild(el('code', data.command));
    append(summary, [run, el('h2', 'Coverage'), coverage()]);
    if (data.baseline) append(summary, [el('h2', 'Baseline'), baselineCounts()]);
    if (data.problems.length) {
      var list = el('ul');
      list.id = 'problems';
      data.problems.forEach(function (p) { list.appendChild(el('li', p, 'error')); });
      append(summary, [el('h2', 'Input problems'), list]);
    }
    var kinds = append(el('div'), [el('h2', 'Findings by level and kind')].concat(kindCounts()));
    var objects = el('div');
    objectsSection(objects);
    summary.appendChild(append(el('div', null, 'columns'), [kinds, objects]));
  }

  // --- The filters and the fragment --------------------------------------

  function readFragment() {
    var values = Object.create(null);
    location.hash.replace(/^#/, '').split('&').forEach(function (part) {
      var eq = part.indexOf('=');
      if (eq <= 0) return;
      var key = part.slice(0, eq), value;
      try { value = decodeURIComponent(part.slice(eq + 1).replace(/\+/g, ' ')); } catch (e) { return; }
      if (KEYS.indexOf(key) >= 0) values[key] = value;
    });
    return values;
  }

  function writeFragment() {
    var fragment = fragmentOf(filters);
    if (location.hash.replace(/^#/, '') === fragment) return;
    try {
      history.replaceState(null, '', fragment ? '#' + fragment : location.pathname + location.search);
    } catch (e) {
      location.replace('#' + fragment);
    }
  }

  function select(key, label, all, values) {
    var s = el('select');
    s.name = key;
    s.appendChild(el('option', all)).value = '';
    values.forEach(function (v) { s.appendChild(el('option', v)).value = v; });
    s.onchange = function () { filters[key] = s.value; update(true); };
    controls[key] = s;
    var l = el('label', label + ' ');
    l.appendChild(s);
    return l;
  }

  function distinct(field) {
    var seen = Object.create(null), values = [];
    F.forEach(function (f) { var v = S[f[field]]; if (v && !seen[v]) { seen[v] = true; values.push(v); } });
    return values;
  }

  function drawFilters() {
    var form = document.getElementById('filters');
    var languages = data.statistics.map(function (l) { return S[l[0]]; });
    distinct(LANG).forEach(function (l) { if (languages.indexOf(l) < 0) languages.push(l); });
    form.appendChild(select('language', 'Language', 'all languages', languages));
    form.appendChild(select('level', 'Level', 'all levels', LEVELS));
    form.appendChild(select('kind', 'Kind', 'all kinds', distinct(KIND).sort()));
    if (data.baseline) form.appendChild(select('baseline', 'Baseline', 'all', STATES));
    var search = el('input');
    search.type = 'search';
    search.name = 'search';
    search.placeholder = 'object or element name';
    search.oninput = function () { filters.search = search.value; update(true); };
    controls.search = search;
    var l = el('label', 'Search ');
    l.appendChild(search);
    form.appendChild(l);
    var object = el('span');
    object.id = 'object-filter';
    form.appendChild(object);
    form.onsubmit = function (e) { e.preventDefault(); };
  }

  function showFilters() {
    ['language', 'level', 'kind', 'baseline'].forEach(function (key) {
      var s = controls[key];
      if (!s) return;
      var v = filters[key] || '';
      if (v && !Array.prototype.some.call(s.options, function (o) { return o.value === v; }))
        s.appendChild(el('option', v)).value = v;
      s.value = v;
    });
    if (controls.search.value !== (filters.search || '')) controls.search.value = filters.search || '';
    var object = document.getElementById('object-filter');
    object.textContent = '';
    if (filters.object) {
      object.appendChild(document.createTextNode('Object: '));
      object.appendChild(el('code', filters.object));
      var clear = el('button', 'all objects');
      clear.type = 'button';
      clear.onclick = function () { filters.object = ''; update(true); };
      object.appendChild(document.createTextNode(' '));
      object.appendChild(clear);
    }
  }

  function matches(f) {
    if (filters.language && S[f[LANG]] !== filters.language) return false;
    if (filters.level && S[f[LEVEL]] !== filters.level) return false;
    if (filters.kind && S[f[KIND]] !== filters.kind) return false;
    if (filters.object && S[f[OBJECT]] !== filters.object) return false;
    if (filters.baseline && STATES[f[STATE]] !== filters.baseline) return false;
    if (filters.search) {
      var q = filters.search.toLowerCase();
      if (S[f[OBJECT]].toLowerCase().indexOf(q) < 0 && S[f[ELEMENT]].toLowerCase().indexOf(q) < 0) return false;
    }
    return true;
  }

  // --- The messages to copy ------------------------------------------------

  // A text that can stand in an XML comment.
  function commentText(text) {
    while (text.indexOf('--') >= 0) text = text.replace(/--/g, '- -');
    return text.replace(/-$/, '- ');
  }

  // The <msg> lines that the shown findings of one language lack, each once,
  // grouped by message file and section in the order of their first finding.
  function copyText() {
    var groups = [], byKey = Object.create(null);
    shown.forEach(function (i) {
      var f = F[i];
      if (!f[ADD] || f[STATE] === 2) return;
      var key = S[f[MFILE]] + '\n' + S[f[SECTION]];
      var g = byKey[key];
      if (!g) {
        g = byKey[key] = {head: '<!' + '-- ' + commentText(S[f[MFILE]] + ', section ' + S[f[SECTION]]) + ' --' + '>', lines: [], seen: Object.create(null)};
        groups.push(g);
      }
      var line = S[f[ADD]];
      if (!g.seen[line]) { g.seen[line] = true; g.lines.push(line); }
    });
    var count = 0;
    var text = groups.map(function (g) { count += g.lines.length; return g.head + '\n' + g.lines.join('\n') + '\n'; }).join('\n');
    return {text: text, count: count};
  }

  function drawCopy() {
    var box = document.getElementById('copy');
    box.textContent = '';
    if (!filters.language) {
      box.appendChild(el('p', 'Choose a language to gather the <msg> lines that its shown findings lack.'));
      return;
    }
    var c = copyText();
    if (!c.count) {
      box.appendChild(el('p', 'The shown findings of ' + filters.language + ' lack no message.'));
      return;
    }
    var button = el('button', 'Copy ' + c.count + ' <msg> lines of ' + filters.language);
    button.type = 'button';
    button.id = 'copy-button';
    var pre = el('pre', c.text);
    pre.id = 'copy-text';
    button.onclick = function () {
      var done = function () { button.textContent = 'Copied ' + c.count + ' lines'; };
      if (navigator.clipboard && navigator.clipboard.writeText) {
        navigator.clipboard.writeText(c.text).then(done, function () { selectText(pre); });
      } else {
        selectText(pre);
      }
    };
    append(box, [button, pre]);
  }

  function selectText(node) {
    var range = document.createRange();
    range.selectNodeContents(node);
    var sel = window.getSelection();
    sel.removeAllRanges();
    sel.addRange(range);
    try { document.execCommand('copy'); } catch (e) { /* the text stays selected */ }
  }

  // --- The rows ------------------------------------------------------------

  function where(f) {
    if (!f[FILE]) return '';
    return S[f[FILE]] + (f[LINE] > 0 ? ':' + f[LINE] : '');
  }
  function element(f) { return f[ETYPE] ? S[f[ETYPE]] + ' ' + S[f[ELEMENT]] : ''; }
  function reportText(f) {
    if (f[STATE] === 2) return 'fixed since the baseline' + (f[MESSAGE] ? ': message ' + S[f[MESSAGE]] : '');
    if (f[REPORT]) return f[REPORT];
    return f[COMPARED] ? f[COMPARED][3] : S[f[KIND]];
  }
  function columns(f) {
    var values = [S[f[LEVEL]], S[f[KIND]], S[f[OBJECT]] || '(whole manager)', element(f), S[f[LANG]], where(f),
                  S[f[ADD]], reportText(f).replace(/\n/g, ' \u23ce ')];
    if (data.baseline) values.unshift(STATES[f[STATE]]);
    return values;
  }
  var HEAD = ['level', 'kind', 'object', 'element', 'lang', 'location', 'what to add', 'report'];

  function rowOf(index) {
    var f = F[index];
    var row = el('div', null, 'row' + (data.baseline ? ' with-state' : '') + (index === selected ? ' selected' : ''));
    columns(f).forEach(function (v, i) {
      var c = el('span', v);
      if (v) c.title = v;
      if ((data.baseline ? i - 1 : i) === 0) c.className = S[f[LEVEL]];
      row.appendChild(c);
    });
    row.tabIndex = 0;
    row.onclick = function () { selected = index; drawDetail(); drawRows(); };
    row.onkeydown = function (e) { if (e.key === 'Enter') row.onclick(); };
    return row;
  }

  function drawRows() {
    var list = document.getElementById('list'), rows = document.getElementById('rows');
    var height = list.clientHeight || 600;
    var first = Math.max(0, Math.floor(list.scrollTop / ROW) - 10);
    var last = Math.min(shown.length, first + Math.ceil(height / ROW) + 20);
    rows.style.top = first * ROW + 'px';
    rows.textContent = '';
    for (var i = first; i < last; i++) rows.appendChild(rowOf(shown[i]));
  }

  function drawDetail() {
    var box = document.getElementById('detail');
    box.textContent = '';
    if (selected < 0) return;
    var f = F[selected];
    var head = el('p');
    append(head, [el('strong', S[f[LEVEL]], S[f[LEVEL]]), document.createTextNode(' '), el('code', S[f[KIND]])]);
    data.help.forEach(function (h) { if (h[0] === f[KIND]) head.appendChild(document.createTextNode(': ' + h[1])); });
    box.appendChild(head);
    var facts = [];
    if (f[OBJECT]) facts.push('object ' + S[f[OBJECT]]);
    if (f[ETYPE]) facts.push(element(f));
    if (f[LANG]) facts.push('language ' + S[f[LANG]]);
    if (f[FILE]) facts.push('at ' + where(f));
    if (data.baseline) facts.push(STATES[f[STATE]]);
    box.appendChild(el('p', facts.join(', ')));
    if (f[ADD]) {
      var add = el('p', 'Add ');
      append(add, [el('code', S[f[ADD]]), document.createTextNode(' to section '), el('code', S[f[SECTION]]),
                   document.createTextNode(' of '), el('code', S[f[MFILE]])]);
      box.appendChild(add);
    }
    var text = reportText(f);
    if (f[COMPARED]) text += '\n' + S[f[COMPARED][0]] + ': "' + f[COMPARED][1] + '"\n' + S[f[LANG]] + ': "' + f[COMPARED][2] + '"';
    box.appendChild(el('pre', text));
  }

  // --- Putting it together --------------------------------------------------

  function update(fromControls) {
    if (fromControls) writeFragment();
    showFilters();
    shown = [];
    for (var i = 0; i < F.length; i++) if (matches(F[i])) shown.push(i);
    document.getElementById('count').textContent = shown.length + ' of ' + F.length + ' findings';
    document.getElementById('spacer').style.height = shown.length * ROW + 'px';
    document.getElementById('list').scrollTop = 0;
    drawCopy();
    drawRows();
  }

  function fromFragment() {
    filters = readFragment();
    update(false);
  }

  drawSummary();
  drawFilters();
  var head = document.getElementById('list-head');
  if (data.baseline) head.className += ' with-state';
  (data.baseline ? ['baseline'].concat(HEAD) : HEAD).forEach(function (h) { head.appendChild(el('span', h)); });
  document.getElementById('list').addEventListener('scroll', drawRows, {passive: true});
  window.addEventListener('hashchange', function () {
    fromFragment();
    document.getElementById('findings').scrollIntoView();
  });
  fromFragment();
})();
