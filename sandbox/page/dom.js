// Small helpers: elements, requests, and values as trees. Texts become text nodes and never HTML.

export function el(name, properties = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key.startsWith('on')) element.addEventListener(key.slice(2), value);
    else if (value === true) element.setAttribute(key, '');
    else if (value !== false && value !== undefined && value !== null) element.setAttribute(key, value);
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

// The answer as {status, json}. Status 0: the sandbox cannot be reached.
export async function ask(method, path, args = {}) {
  const inQuery = method === 'GET' || method === 'DELETE';
  const query = inQuery ? new URLSearchParams(args).toString() : '';
  try {
    const response = await fetch(path + (query ? '?' + query : ''), {
      method, body: inQuery ? undefined : JSON.stringify(args)});
    return {status: response.status, json: await response.json()};
  } catch (error) {
    return {status: 0, json: {error: 'The sandbox cannot be reached.'}};
  }
}

// A JSON value: objects as definition lists, lists of objects as numbered lists.
export function tree(value) {
  if (Array.isArray(value)) {
    if (value.length === 0) return el('span', {class: 'dim'}, 'empty');
    if (value.every((element) => typeof element !== 'object')) return value.join(', ');
    return el('ol', {}, ...value.map((element) => el('li', {}, tree(element))));
  }
  if (value !== null && typeof value === 'object') {
    const pairs = Object.entries(value).flatMap(([key, part]) => [el('dt', {}, key), el('dd', {}, tree(part))]);
    return pairs.length ? el('dl', {}, ...pairs) : el('span', {class: 'dim'}, 'no fields');
  }
  if (value === '' || value === null) return el('span', {class: 'dim'}, value === '' ? 'empty' : 'none');
  return String(value);
}

// A table that can be scrolled sideways; each column is [title, function of the row, class].
export function table(label, columns, rows, none) {
  if (rows.length === 0) return el('p', {class: 'dim'}, none);
  return el('div', {class: 'scroll', role: 'region', tabindex: 0, 'aria-label': label},
    el('table', {},
      el('thead', {}, el('tr', {}, ...columns.map(([title, , kind]) => title ? el('th', {scope: 'col', class: kind}, title) : el('td')))),
      el('tbody', {}, ...rows.map((row) => el('tr', {}, ...columns.map(([, cell, kind]) => {
        const content = cell(row);
        return el('td', {class: kind}, content === null || content === undefined ? '' :
          content instanceof Node ? content : String(content));
      }))))));
}

export function card(title, ...children) {
  return el('section', {class: 'card', 'aria-label': title}, el('h2', {}, title), ...children);
}

// Tells people with a screen reader what has been done.
export function say(text) {
  document.getElementById('said').textContent = text;
}
