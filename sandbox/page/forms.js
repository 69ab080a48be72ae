// Forms for everything that can be done, made from the sandbox's own description of the arguments.
import {ask, card, el, say, table, tree} from './dom.js';

let routes = [];
const kManyFields = 8;

export async function loadRoutes() {
  routes = (await ask('GET', '/routes')).json.routes ?? [];
  return routes;
}

function groupOf(route) {
  if (route.path.startsWith('/trigger/')) return 'Triggers';
  if (route.path === '/fault' || route.path === '/outage') return 'Faults and outages';
  if (['/clock', '/reset', '/coverage'].includes(route.path)) return 'Sandbox';
  return 'Data';
}

function control(argument, id) {
  const common = {id, name: argument.name, required: argument.required,
    'aria-describedby': argument.help ? id + '-help' : undefined};
  const shown = argument.default === undefined || typeof argument.default === 'object' ? '' : String(argument.default);
  if (argument.type === 'flag' || argument.type === 'wireFlag' || (argument.choices && argument.choices.length <= 12)) {
    const choices = argument.choices ?? ['true', 'false'];
    const select = el('select', common, ...(argument.required ? [] : [el('option', {value: ''}, 'not given')]),
      ...choices.map((choice) => el('option', {value: choice}, choice)));
    if (!argument.choices && shown) select.firstElementChild.textContent = 'not given: ' + shown;
    return select;
  }
  if (argument.choices) {
    const list = el('datalist', {id: id + '-list'}, ...argument.choices.map((choice) => el('option', {value: choice})));
    return el('span', {}, el('input', {...common, list: id + '-list', autocomplete: 'off', spellcheck: 'false'}), list);
  }
  if (argument.type === 'objects') {
    const names = argument.fields.map((field) => field.name + (field.required ? '*' : '')).join(', ');
    return el('textarea', {...common, rows: 2, placeholder: '[{…}] of ' + names, spellcheck: 'false'});
  }
  const kinds = {
    number: {type: 'number', step: 1, min: argument.min, max: argument.max},
    fraction: {type: 'number', step: 'any', min: 0, max: 1},
    date: {pattern: '[0-9]{14}', placeholder: 'YYYYMMDDhhmmss', inputmode: 'numeric'},
  };
  return el('input', {...common, ...kinds[argument.type], placeholder: kinds[argument.type]?.placeholder ?? shown,
    autocomplete: 'off', spellcheck: 'false'});
}

function field(argument) {
  const id = 'argument-' + argument.name;
  return el('div', {class: 'field' + (argument.type === 'objects' ? ' wide' : ''), 'data-for': argument.onlyFor?.join(' ')},
    el('label', {for: id}, argument.name + (argument.required ? ' *' : '')),
    control(argument, id),
    argument.help ? el('small', {id: id + '-help'}, argument.help) : null);
}

// What the form holds, in the types of the description; throws for JSON that cannot be read.
function valuesOf(form, route) {
  const values = {};
  for (const argument of route.arguments) {
    const input = form.elements[argument.name];
    const text = input.closest('.field').hidden ? '' : input.value;
    if (text === '') continue;
    const list = () => text.split(',').map((part) => part.trim());
    const number = (part) => (/^-?\d+(\.\d+)?$/.test(part) ? Number(part) : part);
    const read = {
      number: () => number(text), fraction: () => number(text), flag: () => text === 'true',
      wireFlag: () => text === 'true', texts: list, numbers: () => list().map(number), objects: () => JSON.parse(text),
    };
    values[argument.name] = (read[argument.type] ?? (() => text))();
  }
  return values;
}

// Fields that count only for one kind are hidden while another is chosen.
function followKind(form) {
  const kind = form.elements.kind;
  if (!kind) return;
  const show = () => {
    for (const part of form.querySelectorAll('[data-for]')) part.hidden = !part.dataset.for.split(' ').includes(kind.value);
  };
  kind.addEventListener('change', show);
  show();
}

function formOf(route, done) {
  const first = route.arguments.filter((argument, i) =>
    argument.required || i < kManyFields || argument.name === 'children');  // without one there is no product
  const more = route.arguments.filter((argument) => !first.includes(argument));
  const answer = el('output', {tabindex: -1});
  const form = el('form', {'aria-label': route.help},
    el('div', {class: 'fields'}, ...first.map(field)),
    more.length ? el('details', {}, el('summary', {}, more.length + ' more arguments'),
      el('div', {class: 'fields'}, ...more.map(field))) : null,
    el('button', {class: 'main'}, 'Send'), el('span', {class: 'dim'}, ' ' + route.method + ' ' + route.path), answer);
  followKind(form);
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    let values;
    try {
      values = valuesOf(form, route);
    } catch (error) {
      return void answer.replaceChildren(el('p', {class: 'bad'}, 'That is not JSON: ' + error.message));
    }
    answer.replaceChildren(el('p', {class: 'dim'}, 'Waiting for the answer…'));
    const {status, json} = await ask(route.method, route.path, values);
    const good = status === 200;
    answer.replaceChildren(el('p', {class: good ? 'good' : 'bad'}, good ? 'Done.' : json.error), ...(good ? [tree(json)] : []));
    say(good ? 'Done.' : json.error);
    done();
  });
  return form;
}

// What has been ordered, each with a button that takes it back.
function orders(title, path, list, done) {
  const details = (order) => Object.entries(order).filter(([key]) => key !== 'id' && key !== 'kind')
    .map(([key, value]) => key + ' ' + value).join(', ');
  return card(title, table(title, [
    ['Id', (order) => order.id], ['Kind', (order) => order.kind], ['', details],
    ['', (order) => el('button', {type: 'button', 'aria-label': 'Remove ' + order.kind + ' ' + order.id,
      onclick: async () => { await ask('DELETE', path, {id: order.id}); say('Removed.'); done(); }}, 'Remove')],
  ], list, 'None.'));
}

let chosen = 'POST /fault';

export const actions = {
  async load() {
    const [faults, outages] = await Promise.all([ask('GET', '/fault'), ask('GET', '/outage')]);
    return {faults: faults.json.faults ?? [], outages: outages.json.outages ?? []};
  },
  // The form stays as it is while the lists below it change.
  draw(data, view, refresh) {
    const lists = [orders('Faults', '/fault', data.faults, refresh), orders('Outages', '/outage', data.outages, refresh)];
    if (view.querySelector('#action-lists')) return void view.querySelector('#action-lists').replaceChildren(...lists);
    const place = el('div');
    const show = () => {
      const route = routes.find((each) => each.method + ' ' + each.path === chosen);
      if (route) place.replaceChildren(formOf(route, refresh));
    };
    const groups = new Map();
    for (const route of routes.filter((each) => each.method !== 'GET')) {
      const name = route.method + ' ' + route.path;
      if (!groups.has(groupOf(route))) groups.set(groupOf(route), el('optgroup', {label: groupOf(route)}));
      groups.get(groupOf(route)).append(el('option', {value: name, selected: name === chosen}, route.help));
    }
    const order = ['Faults and outages', 'Triggers', 'Data', 'Sandbox'];
    const select = el('select', {id: 'action', onchange: () => { chosen = select.value; show(); }},
      ...order.map((name) => groups.get(name)).filter(Boolean));
    view.replaceChildren(card('Actions', el('label', {for: 'action'}, 'What shall happen'), select, place),
      el('div', {id: 'action-lists'}, ...lists));
    show();
  },
};
