import { announce, copyText, csvText, download, el } from "./dom.js";

/** A table that is sorted by its heads; both pages use it. */

/** Values in order: numbers by size, texts by their numbers and letters, missing ones at the end. */
export function compareValues(a, b, falling) {
  const missing = (value) => value === null || value === undefined || value === "";
  if (missing(a) || missing(b)) return missing(a) - missing(b);
  const order = typeof a === "number" && typeof b === "number"
    ? a - b : String(a).localeCompare(String(b), "en", { numeric: true });
  return falling ? -order : order;
}

export class SortableTable {
  /**
   * `columns`: {key, text, title, number, value(item), show(item)}; `value` is what is sorted and
   * copied, `show` gives a text or a node. `rowOf(item)` gives the row's attributes.
   */
  constructor({ id, caption, columns, items, rowOf, fileName }) {
    this.columns = columns;
    this.fileName = fileName;
    this.sorting = null;
    this.shown = () => true;
    this.count = el("output", { class: "range" });
    this.body = el("tbody");
    this.heads = columns.map((column) => el("th", { scope: "col", class: column.number ? "number" : null, "data-key": column.key, title: column.value ? null : column.title },
      column.value
        ? el("button", { type: "button", title: column.title ?? `Sort by ${column.text}`, onclick: () => this.sortBy(column), text: column.text })
        : column.text));
    this.rows = items.map((item) => ({
      item,
      node: el("tr", rowOf(item), columns.map((column, place) => {
        const shown = column.show(item);
        const cell = place === 0 ? el("th", { scope: "row" }, shown) : el("td", {}, shown);
        if (column.number) cell.classList.add("number");
        return cell;
      })),
    }));
    this.table = el("table", { id }, el("caption", { text: caption }), el("thead", {}, el("tr", {}, this.heads)), this.body);
    this.order = [...this.rows];
    this.update();
  }

  sortBy(column) {
    const falling = this.sorting?.column === column ? !this.sorting.falling : false;
    this.sorting = { column, falling };
    this.order = this.rows.map((row) => ({ row, value: column.value(row.item) }))
      .sort((a, b) => compareValues(a.value, b.value, falling)).map(({ row }) => row);
    this.heads.forEach((head, place) => {
      if (this.columns[place] === column) head.setAttribute("aria-sort", falling ? "descending" : "ascending");
      else head.removeAttribute("aria-sort");
    });
    this.update();
  }

  /** Shows the items that `test` holds for. */
  filter(test) {
    this.shown = test;
    this.update();
  }

  visible() {
    return this.order.filter((row) => this.shown(row.item));
  }

  update() {
    const rows = this.visible();
    this.body.replaceChildren(...rows.map((row) => row.node));
    this.count.textContent = `${rows.length} of ${this.rows.length} rows`;
  }

  csv() {
    const columns = this.columns.filter((column) => column.value);
    return csvText([columns.map((column) => column.key),
      ...this.visible().map((row) => columns.map((column) => column.value(row.item)))]);
  }

  /** Buttons that take the rows that are shown, in their order. */
  csvButtons() {
    return [
      el("button", {
        type: "button", class: "copy",
        onclick: async () => {
          const done = await copyText(this.csv());
          announce(done ? `${this.visible().length} rows copied` : "The browser does not allow copying; save the file instead");
        },
        text: "Copy as CSV",
      }),
      el("button", { type: "button", class: "save", onclick: () => download(this.fileName, this.csv(), "text/csv;charset=utf-8"), text: "Save CSV" }),
    ];
  }
}

/** A search field; `changed` gets its text in lower case. */
export function searchField(label, changed) {
  return el("label", { class: "search" }, el("span", { text: label }),
    el("input", { type: "search", oninput: (event) => changed(event.target.value.trim().toLowerCase()) }));
}

