// What game servers have met of what they should before they go live, and what to do for the rest.
import {ask, card, el, say} from './dom.js';

const kTitles = {calls: 'Calls', refusals: 'Refusals', unanswered: 'Calls without an answer', callbacks: 'Callbacks',
  sessions: 'Sessions', links: 'The link'};

let connector = '';
let all = false;  // what has been met is shown too
const opened = new Set(['calls', 'callbacks']);

function group(name, items) {
  const met = items.filter((item) => item.met > 0).length;
  const title = kTitles[name] ?? name;
  const count = met + ' of ' + items.length;
  const shown = all ? items : items.filter((item) => item.met === 0);
  const details = el('details', {class: 'card', 'data-group': name, open: opened.has(name), ontoggle: () => {
    if (details.open) opened.add(name);
    else opened.delete(name);
  }},
  el('summary', {}, el('h2', {}, title), ' ', el('span', {class: met === items.length ? 'good' : 'dim'}, count),
    el('progress', {max: items.length, value: met, 'aria-label': title + ': ' + count})),
  shown.length === 0 ? el('p', {class: 'dim'}, 'All of it has been met.') :
    el('ul', {class: 'items'}, ...shown.map((item) => el('li', {},
      el('span', {class: item.met ? 'good whole' : 'bad whole'}, item.met ? '● met' : '○ missing'), ' ', item.what,
      el('div', {class: 'dim'}, item.next ?? item.met + (item.met === 1 ? ' time' : ' times'))))));
  return details;
}

export const coverage = {
  async load() {
    const {status, json} = await ask('GET', '/coverage', connector ? {connector} : {});
    return {error: status === 200 ? '' : json.error, all, connector, ...json};
  },
  draw(data, view, refresh) {
    let choose = view.querySelector('#coverage-of');
    if (!choose) {
      choose = el('select', {id: 'coverage-of', onchange: () => { connector = choose.value; refresh(); }});
      const more = el('input', {type: 'checkbox', checked: all, onchange: () => { all = more.checked; refresh(); }});
      const forget = el('button', {type: 'button', onclick: async () => {
        await ask('DELETE', '/coverage');
        say('Forgotten.');
        refresh();
      }}, 'Forget it all');
      view.replaceChildren(card('Coverage', el('p', {id: 'coverage-sum'}), el('div', {class: 'bar'},
        el('label', {for: 'coverage-of'}, 'Game server ', choose), el('label', {}, more, ' Show what has been met, too'),
        forget)), el('div', {id: 'coverage-groups'}));
    }
    const options = [['', 'all of them'], ...(data.connectors ?? []).map((each) => [each.connector, each.connector])];
    if (choose.length !== options.length)
      choose.replaceChildren(...options.map(([value, text]) => el('option', {value, selected: value === connector}, text)));
    view.querySelector('#coverage-sum').textContent = data.error ||
      (data.missing ? data.missing + ' of ' + data.items + ' are missing.' : 'Everything has been met.');
    const groups = new Map();
    for (const item of data.coverage ?? []) groups.set(item.group, [...(groups.get(item.group) ?? []), item]);
    const focused = document.activeElement?.closest('[data-group]')?.dataset.group;
    const place = view.querySelector('#coverage-groups');
    place.replaceChildren(...[...groups].map(([name, items]) => group(name, items)));
    place.querySelector('[data-group="' + focused + '"] summary')?.focus();
  },
};
