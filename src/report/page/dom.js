/** Small helpers for building the page. Text of the record enters only as text nodes and attributes. */

const svgNamespace = "http://www.w3.org/2000/svg";

function fill(node, attributes, children) {
  for (const [name, value] of Object.entries(attributes ?? {})) {
    if (value === null || value === undefined || value === false) continue;
    if (name === "text") node.textContent = value;
    else if (name.startsWith("on")) node.addEventListener(name.slice(2), value);
    else node.setAttribute(name, value === true ? "" : String(value));
  }
  for (const child of children.flat(Infinity)) {
    if (child !== null && child !== undefined) node.append(child);
  }
  return node;
}

/** Puts children (nodes, texts, lists of them, null for none) at the end of `node`. */
export function add(node, ...children) {
  return fill(node, null, children);
}

/** An HTML element; `text` sets its text, `onclick` and the like add listeners. */
export function el(name, attributes, ...children) {
  return fill(document.createElement(name), attributes, children);
}

/** The same for SVG. */
export function svg(name, attributes, ...children) {
  return fill(document.createElementNS(svgNamespace, name), attributes, children);
}

export function byId(id) {
  return document.getElementById(id);
}

/** Says `text` to screen readers, and shows it for a moment. */
export function announce(text) {
  const box = byId("status");
  box.textContent = text;
  box.classList.add("shown");
  clearTimeout(announce.timer);
  announce.timer = setTimeout(() => box.classList.remove("shown"), 2500);
}

/** Hands `text` to the user as a file, byte for byte in UTF-8. */
export function download(fileName, text, type = "text/plain;charset=utf-8") {
  const address = URL.createObjectURL(new Blob([text], { type }));
  const link = el("a", { href: address, download: fileName });
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(address), 10000);
}

/** Copies text; pages without the clipboard interface fall back to a selection. */
export async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    const area = el("textarea", { class: "off-screen", "aria-hidden": "true" });
    area.value = text;
    document.body.append(area);
    area.select();
    let done = false;
    try {
      done = document.execCommand("copy");
    } finally {
      area.remove();
    }
    return done;
  }
}

/** A cell of a CSV file; what spreadsheets would run as a formula is quoted as text. */
export function csvCell(value) {
  if (value === null || value === undefined) return "";
  if (typeof value === "number") return String(value);
  const text = /^[=+\-@\t\r]/.test(value) ? `'${value}` : String(value);
  return /[",\n\r]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

export function csvText(rows) {
  return rows.map((row) => row.map(csvCell).join(",") + "\n").join("");
}

/** Moves the tip beside a point of the window and keeps it inside. */
export function showTip(content, clientX, clientY) {
  const tip = byId("tip");
  tip.replaceChildren(...content);
  tip.hidden = false;
  const box = tip.getBoundingClientRect();
  const space = 14;
  let left = clientX + space;
  if (left + box.width > document.documentElement.clientWidth - 4) left = clientX - box.width - space;
  const lowest = document.documentElement.clientHeight - box.height - 4;
  tip.style.left = `${Math.max(4, left)}px`;
  tip.style.top = `${Math.max(4, Math.min(clientY + space, lowest))}px`;
}

export function hideTip() {
  byId("tip").hidden = true;
}
