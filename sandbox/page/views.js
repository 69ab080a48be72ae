// The views that show what the sandbox knows. Each loads its data, and draws it when something has changed.
import {ask, card, el, table} from './dom.js';
import {filterBy} from './stream.js';

const kBillTypes = {1: 'fixed term', 2: 'metered', 3: 'both'};

function date(digits) {
  if (!digits || digits.startsWith('9999')) return 'no end';
  return digits.replace(/^(....)(..)(..)(..)(..)(..)$/, '$1-$2-$3 $4:$5:$6');
}

function link(text, label, action) {
  return el('button', {type: 'button', 'aria-label': label, onclick: action}, text);
}

export const overview = {
  async load() {
    const [connectors, users] = await Promise.all([ask('GET', '/connectors'), ask('GET', '/users', {limit: 200})]);
    return {connectors: connectors.json.connectors ?? [], users: users.json.users ?? []};
  },
  draw(data, view) {
    document.getElementById('connectors').replaceChildren(
      ...data.connectors.map((connector) => el('option', {value: connector.connector})));
    view.replaceChildren(
      card('Connectors', table('Connectors', [
        ['Connector', (row) => link(row.connector, 'Messages of ' + row.connector,
          () => filterBy('connector', row.connector))],
        ['Link', (row) => el('span', {class: row.linked ? 'good' : 'bad'}, row.linked ? '● linked' : '○ away')],
        ['Users', (row) => row.users, 'number'],
        ['Heartbeat', (row) => row.heartbeatMs / 1000 + ' s', 'number'],
      ], data.connectors, 'No game server has registered yet.')),
      card('Users', el('p', {class: 'dim'}, 'Choose a user or a connector to see its messages alone.'), table('Users', [
        ['User', (row) => link(row.userId, 'Messages about ' + row.userId, () => filterBy('user', row.userId)), 'whole'],
        ['Bill type', (row) => kBillTypes[row.billType], 'whole'],
        ['Minutes', (row) => (row.billType === 1 ? '' : row.remainMinutes), 'number'],
        ['Ruv coin', (row) => row.ruvCoin, 'number'],
        ['Session', (row) => (row.session ?
          el('span', {class: 'good'}, row.session.moving ? 'on the move' : row.session.connector,
            el('br'), el('span', {class: 'dim whole'}, 'until ' + date(row.session.endDate))) :
          el('span', {class: 'dim whole'}, 'not checked in'))],
      ], data.users, 'There is no user.')));
  },
};

export const shop = {
  async load() { return (await ask('GET', '/shop')).json.shops ?? []; },
  draw(shops, view) {
    view.replaceChildren(...shops.map((each) => card('Shop of ' + each.gameId, table('Products', [
      ['Product', (row) => row.productId],
      ['Name', (row) => row.productName],
      ['Branch', (row) => row.branchId],
      ['Price', (row) => row.price + (row.discountRate ? ' −' + row.discountRate + ' %' : ''), 'number'],
      ['Sold', (row) => row.totalSellingCount, 'number'],
      ['On sale until', (row) => date(row.endDate), 'whole'],
    ], each.products, 'Nothing is sold.'))));
    if (shops.length === 0) view.replaceChildren(el('p', {class: 'dim'}, 'There is no shop.'));
  },
};

let boxOf = '';

export const orders = {
  async load() {
    const [made, box] = await Promise.all([ask('GET', '/orders', {limit: 100}),
      boxOf ? ask('GET', '/storage', {user: boxOf, limit: 200}) : {status: 200, json: {storage: []}}]);
    return {orders: made.json.orders ?? [], box: box.json.storage ?? [], error: box.json.error ?? ''};
  },
  draw(data, view, refresh) {
    let input = view.querySelector('#box-user');
    if (!input) {
      input = el('input', {id: 'box-user', autocomplete: 'off', spellcheck: 'false', value: boxOf});
      const form = el('form', {class: 'bar', onsubmit: (event) => {
        event.preventDefault();
        boxOf = input.value;
        refresh();
      }}, el('label', {}, 'User id ', input), el('button', {class: 'main'}, 'Show'));
      view.replaceChildren(el('div', {id: 'order-list'}), card('Storage box', form, el('div', {id: 'box'})));
    }
    view.querySelector('#order-list').replaceChildren(card('Orders', table('Orders', [
      ['Order', (row) => row.orderSeq, 'number'],
      ['Product', (row) => row.count + ' × ' + row.productId, 'whole'],
      ['Buyer', (row) => row.user],
      ['Receiver', (row) => (row.receiver === row.user ? '' : row.receiver)],
      ['Price', (row) => row.price, 'number'],
      ['Time', (row) => date(row.date), 'whole'],
      ['Box', (row) => link('Open', 'Storage box of ' + row.receiver, () => {
        boxOf = input.value = row.receiver;
        refresh();
      })],
    ], data.orders, 'Nothing has been bought.')));
    view.querySelector('#box').replaceChildren(data.error ? el('p', {class: 'bad'}, data.error) :
      table('Storage box', [
        ['Entry', (row) => row.storageSeq, 'number'],
        ['Item', (row) => row.itemName || row.itemId],
        ['Count', (row) => row.remainCount + ' of ' + row.count, 'number'],
        ['State', (row) => row.state],
        ['Order', (row) => row.orderSeq || '', 'number'],
        ['From', (row) => row.senderUserId],
      ], data.box, boxOf ? 'The box of ' + boxOf + ' is empty.' : 'Choose a user.'));
  },
};
