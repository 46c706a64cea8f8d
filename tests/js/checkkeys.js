// Every message key that a page script names must be declared in keys.json:
// a missing one would be undefined in the page and fail without a word.
// Usage: node checkkeys.js keys.json script.js...
'use strict';
const fs = require('fs');
const keys = JSON.parse(fs.readFileSync(process.argv[2], 'utf8'));
// The short names the scripts give to groups of keys.
const aliases = { N: 'node', A: 'args', OP: 'ops', F: 'facts', T: 'table', R: 'row', C: 'copy', I: 'image' };
let missing = 0;
for (const file of process.argv.slice(3)) {
  const text = fs.readFileSync(file, 'utf8');
  const check = (group, key, where) => {
    if (!keys[group] || !(key in keys[group])) {
      console.error(`${file}: ${where} is not in keys.json`);
      missing++;
    }
  };
  for (const m of text.matchAll(/\bK\.(\w+)\.(\w+)/g)) check(m[1], m[2], m[0]);
  for (const m of text.matchAll(/\bK\.(\w+)\b(?!\.)/g)) if (!keys[m[1]]) { console.error(`${file}: ${m[0]} is not in keys.json`); missing++; }
  for (const m of text.matchAll(/\b(N|A|OP|F|T|R|C|I)\.(\w+)/g)) check(aliases[m[1]], m[2], m[0]);
  // The operation table: every operation has its name.
  const ops = text.match(/var OPS = \{([\s\S]*?)\n  \};/);
  if (ops) for (const m of ops[1].matchAll(/^    (\w+): function/gm)) check('ops', m[1], 'operation ' + m[1]);
}
process.exit(missing ? 1 : 0);
