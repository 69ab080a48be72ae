// The page: chooses the view by the address, and asks again every two seconds while somebody looks.
import {coverage} from './coverage.js';
import {ask, el} from './dom.js';
import {actions, loadRoutes} from './forms.js';
import * as stream from './stream.js';
import {orders, overview, shop} from './views.js';

const kEvery = 2000;  // milliseconds
const kViews = {overview, shop, orders, actions, coverage};

const main = document.getElementById('main');
const state = document.getElementById('state');
let current = '';
let shown = '';  // the data that is drawn, as text

function nameOf(hash) {
  return hash.slice(1) in kViews || hash === '#messages' ? hash.slice(1) : '';
}

async function refresh() {
  const view = kViews[current];
  if (!view) return;
  const data = await view.load();
  const text = JSON.stringify(data);
  if (view !== kViews[current] || text === shown) return;  // another view was chosen meanwhile
  shown = text;
  const focused = document.activeElement?.getAttribute?.('aria-label');
  view.draw(data, main, refresh);
  if (focused && document.activeElement === document.body)
    [...main.querySelectorAll('[aria-label]')].find((each) => each.getAttribute('aria-label') === focused)?.focus();
}

async function showState() {
  const {status, json} = await ask('GET', '/health');
  const ordered = (json.faults ?? 0) + (json.outages ?? 0);
  state.classList.toggle('bad', status !== 200);
  state.textContent = status !== 200 ? json.error :
    json.linked + ' of ' + json.connectors + ' connectors linked' +
    (ordered ? ', ' + ordered + (ordered === 1 ? ' fault' : ' faults') + ' ordered' : '') +
    (json.aheadSeconds ? ', clock ' + json.aheadSeconds + ' s ahead' : '');
}

function choose() {
  const name = nameOf(location.hash) || current || 'overview';
  document.body.classList.toggle('stream', name === 'messages');
  for (const link of document.querySelectorAll('nav a')) {
    if (link.hash === '#' + name) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
  if (name === current) return;
  current = name === 'messages' && !current ? 'overview' : name;
  shown = '';
  if (name !== 'messages') main.replaceChildren();
  refresh();
}

addEventListener('hashchange', choose);
setInterval(() => {
  if (document.hidden) return;
  showState();
  refresh();
}, kEvery);

const routes = await loadRoutes();
const classes = routes.find((route) => route.path === '/events')?.arguments.find((each) => each.name === 'class');
document.getElementById('classes').replaceChildren(
  ...(classes?.choices ?? []).map((choice) => el('option', {value: choice})));
stream.start();
showState();
choose();
