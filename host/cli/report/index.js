// Sorts and filters the table of an index.
// SPDX-License-Identifier: BSD-2-Clause-Patent
'use strict';

(() => {
  const table = document.getElementById('machines');
  const body = table.tBodies[0];
  const rows = [...body.rows];
  const headings = [...table.tHead.rows[0].cells];

  const keyOf = (row, column, isNumber) => {
    const cell = row.cells[column];
    if (!cell || cell.colSpan > 1) return isNumber ? -2 : '';
    return isNumber ? Number(cell.dataset.value) : cell.textContent;
  };

  // Numbers begin with the largest, texts with the first; a second time it is the contrary.
  const sortBy = (heading, column) => {
    const isNumber = heading.dataset.sort === 'number';
    const first = isNumber ? 'descending' : 'ascending';
    const order = heading.getAttribute('aria-sort') === first ? (isNumber ? 'ascending' : 'descending') : first;
    headings.forEach(other => other.removeAttribute('aria-sort'));
    heading.setAttribute('aria-sort', order);
    const compare = isNumber ? (a, b) => a - b : (a, b) => a.localeCompare(b, 'en', {numeric: true});
    const sorted = rows.map((row, at) => ({row, at, key: keyOf(row, column, isNumber)}));
    sorted.sort((a, b) => (order === 'ascending' ? 1 : -1) * compare(a.key, b.key) || a.at - b.at);
    body.append(...sorted.map(one => one.row));
  };

  headings.forEach((heading, column) => {
    const button = document.createElement('button');
    button.type = 'button';
    button.textContent = heading.textContent;
    button.addEventListener('click', () => sortBy(heading, column));
    heading.replaceChildren(button);
  });

  table.classList.add('sortable');

  const tools = document.getElementById('tools');
  const label = document.createElement('label');
  const field = document.createElement('input');
  const count = document.createElement('output');
  label.append('Show rows with ', field);
  field.type = 'search';
  tools.append(label, count);
  const filter = () => {
    const wanted = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    rows.forEach(row => {
      const text = row.textContent.toLowerCase();
      row.hidden = !wanted.every(word => text.includes(word));
      shown += row.hidden ? 0 : 1;
    });
    count.textContent = wanted.length ? `${shown} of ${rows.length}` : '';
  };
  field.addEventListener('input', filter);
})();
