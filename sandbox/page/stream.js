// The live stream of messages: the newest rows, drawn once a frame at most, whatever comes in.
import {ask, el, tree} from './dom.js';

const kMaxRows = 500;
const kHistory = 100;  // messages that are there at the beginning
const kDrawEvery = 100;  // milliseconds
const kIdleShare = 4;    // a slow machine draws so much less often that this many parts of the time stay free

const rows = document.getElementById('rows');
const note = document.getElementById('stream-note');
const count = document.getElementById('stream-count');
const pause = document.getElementById('pause');
const filter = document.getElementById('filter');

let source = null;
let waiting = [];  // the newest messages that are not drawn yet
let first = Infinity;  // number of the first message that the stream has brought
let skipTo = 0;        // messages up to this number are there already
let seen = 0, lost = 0, pauseUntil = 0, scheduled = false, paused = false;

function schedule() {
  if (scheduled || paused) return;
  scheduled = true;
  requestAnimationFrame(draw);
}

function draw() {
  const begun = performance.now();
  if (begun < pauseUntil) return void setTimeout(() => requestAnimationFrame(draw), pauseUntil - begun);
  scheduled = false;
  const fresh = document.createDocumentFragment();
  for (const text of waiting.slice(-kMaxRows).reverse()) fresh.append(row(JSON.parse(text)));
  waiting = [];
  rows.prepend(fresh);
  while (rows.childElementCount > kMaxRows) rows.lastElementChild.remove();
  showCount();
  // The frame is laid out and painted before this runs, so its whole cost is known.
  pauseUntil = begun + kDrawEvery;
  requestAnimationFrame(() => {
    pauseUntil = begun + Math.max(kDrawEvery, (performance.now() - begun) * kIdleShare);
  });
}

function showCount() {
  count.textContent = seen + (seen === 1 ? ' message' : ' messages') + (paused ? ', paused' : '');
  note.textContent = lost ? lost + ' messages were too many for this page and are left out.' : '';
}

function row(message) {
  const button = el('button', {type: 'button', 'aria-expanded': 'false'},
    el('span', {class: 'dim'}, message.time.slice(11, 23)),
    el('span', {class: message.direction, 'aria-label': message.direction === 'in' ? 'from' : 'to'},
      message.direction === 'in' ? '←' : '→'),
    el('span', {}, message.connector),
    el('span', {class: 'what'}, message.class.replace(/^X(C2S|S2C)_/, ''),
      message.users ? ' ' + [...new Set(message.users)].join(' ') : '',
      ...(message.faults ?? []).flatMap((fault) => [' ', el('span', {class: 'fault'}, 'fault ' + fault)])));
  const item = el('li', {}, button);
  button.addEventListener('click', () => {
    const open = button.getAttribute('aria-expanded') === 'true';
    button.setAttribute('aria-expanded', String(!open));
    if (open) item.lastElementChild.remove();
    else item.append(tree({class: message.class, ...message.fields}));
  });
  return item;
}

function listen() {
  source?.close();
  const chosen = new URLSearchParams([...new FormData(filter)].filter(([, value]) => value !== ''));
  const own = source = new EventSource('/events?' + chosen);
  source.onmessage = (event) => {
    const number = parseInt(event.data.slice('{"number":'.length), 10);
    if (number <= skipTo) return;
    first = Math.min(first, number);
    ++seen;
    waiting.push(event.data);
    if (waiting.length > 2 * kMaxRows) waiting = waiting.slice(-kMaxRows);
    schedule();
  };
  source.addEventListener('lost', (event) => {
    lost += JSON.parse(event.data).lost;
    schedule();
  });
  source.onerror = () => {
    note.textContent = source.readyState === EventSource.CLOSED ?
      'No stream with this filter.' : 'The stream is interrupted.';
  };
  source.onopen = async () => {
    showCount();
    if (skipTo > 0 || first < Infinity) return;  // the stream has come back
    const {json} = await ask('GET', '/messages', {...Object.fromEntries(chosen), limit: kHistory});
    if (own !== source) return;
    const before = (json.messages ?? []).filter((message) => message.number < first);
    waiting.unshift(...before.map((message) => JSON.stringify(message)));
    seen += before.length;
    skipTo = json.last ?? 0;
    if (first < Infinity) skipTo = 0;
    schedule();
  };
}

function clear() {
  waiting = [];
  rows.replaceChildren();
  seen = lost = 0;
  showCount();
}

function begin() {
  clear();
  first = Infinity;
  skipTo = 0;
  listen();
}

export function filterBy(field, value) {
  for (const name of ['user', 'class', 'connector']) filter.elements[name].value = name === field ? value : '';
  begin();
}

export function start() {
  let timer = 0;
  filter.addEventListener('submit', (event) => event.preventDefault());
  filter.addEventListener('input', () => {
    clearTimeout(timer);
    timer = setTimeout(begin, 300);
  });
  document.getElementById('clear').addEventListener('click', clear);
  pause.addEventListener('click', () => {
    paused = !paused;
    pause.setAttribute('aria-pressed', String(paused));
    showCount();
    if (!paused) schedule();
  });
  showCount();
  listen();
}
