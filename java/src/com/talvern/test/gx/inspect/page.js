"use strict";
// The page of the inspector. All that comes from the program is text: it is put in by textContent and nothing else.

const ROW = 22; // pixels, as in the style sheet
const RENEW = 1000; // milliseconds; the frame on the screen goes after three seconds without
const BY_PAGE = 10; // rows
const $ = (id) => document.getElementById(id);

function make(tag, name, text) {
  const element = document.createElement(tag);
  if (name) element.className = name;
  if (text !== undefined) element.textContent = text;
  return element;
}

// ---- What there is

let nodes = []; // in the order of the tree
let byKey = new Map();
let stack = []; // keys of the windows, the bottom first
let shown = []; // the nodes that no closed one hides
const closed = new Set(); // keys
let chosen = null; // key
let over = null; // key
let matches = []; // keys
let isOver = false; // the program or the inspector has ended

function takeTree(tree) {
  nodes = tree.nodes;
  stack = tree.stack;
  byKey = new Map();
  const path = [];
  for (const node of nodes) {
    path.length = node.depth;
    node.parent = path[node.depth - 1] || null;
    node.children = 0;
    if (node.parent) node.place = ++node.parent.children;
    node.window = node.depth < 2 ? node : node.parent.window;
    path[node.depth] = node;
    byKey.set(node.key, node);
  }
  for (const key of closed) if (!byKey.has(key)) closed.delete(key);
  fold();
  showFrames();
  showDetails();
}

function fold() {
  shown = [];
  let hiding = Infinity;
  for (const node of nodes) {
    if (node.depth > hiding) continue;
    hiding = closed.has(node.key) ? node.depth : Infinity;
    node.line = shown.push(node) - 1;
  }
  $("rows").style.height = shown.length * ROW + "px";
  $("count").textContent = nodes.length ? "(" + nodes.length + ")" : "";
  showRows();
}

// ---- The tree

function rest(node) {
  const words = [];
  if (node.label && node.label !== node.text) words.push("label " + JSON.stringify(node.label));
  if (node.name && node.name !== node.text) words.push(node.name);
  return words.concat(node.state).join(", ");
}

function row(node) {
  const element = make("div", "row");
  element.id = "row-" + node.key;
  element.setAttribute("role", "treeitem");
  element.setAttribute("aria-level", node.depth + 1);
  element.setAttribute("aria-setsize", node.parent ? node.parent.children : 1);
  element.setAttribute("aria-posinset", node.place || 1);
  element.setAttribute("aria-selected", node.key === chosen);
  if (node.children) element.setAttribute("aria-expanded", !closed.has(node.key));
  element.style.top = node.line * ROW + "px";
  element.style.paddingLeft = 4 + node.depth * 12 + "px";
  element.classList.toggle("chosen", node.key === chosen);
  element.classList.toggle("over", node.key === over);
  element.classList.toggle("match", matches.includes(node.key));
  element.classList.toggle("faint", !node.seen);
  const sign = make("span", "fold", node.children ? (closed.has(node.key) ? "\u25b8" : "\u25be") : "");
  sign.setAttribute("aria-hidden", "true");
  const text = node.text ? " " + JSON.stringify(node.text.slice(0, 120)) : "";
  const more = rest(node);
  element.append(sign, make("span", "role", node.role), make("span", "text", text),
    make("span", "rest", more ? "  " + more : ""));
  element.dataset.key = node.key;
  return element;
}

/** Only what is in sight, and the chosen one, is there: the rest of thousands costs nothing. */
function showRows() {
  const tree = $("tree");
  const first = Math.max(0, Math.floor(tree.scrollTop / ROW) - 5);
  const last = Math.min(shown.length, Math.ceil((tree.scrollTop + tree.clientHeight) / ROW) + 5);
  const lines = shown.slice(first, last);
  const active = byKey.get(chosen);
  const isShown = active && shown[active.line] === active;
  if (isShown && (active.line < first || active.line >= last)) lines.push(active);
  $("rows").replaceChildren(...lines.map(row));
  if (isShown) tree.setAttribute("aria-activedescendant", "row-" + chosen);
  else tree.removeAttribute("aria-activedescendant");
}

function reveal(node) {
  for (let above = node.parent; above; above = above.parent) closed.delete(above.key);
  fold();
  const tree = $("tree");
  const top = node.line * ROW;
  if (top < tree.scrollTop || top + ROW > tree.scrollTop + tree.clientHeight) {
    tree.scrollTop = top - Math.max(0, (tree.clientHeight - ROW) / 3);
  }
  showRows();
}

function choose(node) {
  chosen = node ? node.key : null;
  if (node) reveal(node);
  showFrames();
  showDetails();
}

function toggle(node, open) {
  if (open) closed.delete(node.key);
  else closed.add(node.key);
  fold();
}

function lineOf(key) {
  const node = byKey.get(key);
  return node && shown[node.line] === node ? node.line : -1;
}

function moveTo(line) {
  const node = shown[Math.max(0, Math.min(shown.length - 1, line))];
  if (!node) return;
  choose(node);
  point(node.key);
}

let typed = "";
let typedAt = 0;

function typeAhead(letter) {
  const now = performance.now();
  typed = now - typedAt > 800 ? letter : typed + letter;
  typedAt = now;
  const wanted = typed.toLowerCase();
  const start = lineOf(chosen) + (typed.length === 1 ? 1 : 0);
  for (let step = 0; step < shown.length; ++step) {
    const node = shown[(start + step + shown.length) % shown.length];
    const text = (node.text || node.label || node.role).toLowerCase();
    if (text.startsWith(wanted) || node.role.startsWith(wanted)) return moveTo(node.line);
  }
}

function openSiblings(node) {
  for (const each of nodes) if (each.parent === node.parent) closed.delete(each.key);
  fold();
}

const KEYS = {
  ArrowDown: (node, line) => moveTo(line + 1),
  ArrowUp: (node, line) => moveTo(line < 0 ? 0 : line - 1),
  PageDown: (node, line) => moveTo(line + BY_PAGE),
  PageUp: (node, line) => moveTo(line - BY_PAGE),
  Home: () => moveTo(0),
  End: () => moveTo(shown.length - 1),
  ArrowRight: (node, line) => {
    if (node && closed.has(node.key)) toggle(node, true);
    else if (node && node.children) moveTo(line + 1);
  },
  ArrowLeft: (node) => {
    if (node && node.children && !closed.has(node.key)) toggle(node, false);
    else if (node && node.parent) moveTo(node.parent.line);
  },
  Enter: () => $("line").focus(),
  " ": (node) => point(node && node.key),
  "*": (node) => node && openSiblings(node),
  Escape: () => point(null),
};

$("tree").addEventListener("keydown", (event) => {
  if (event.ctrlKey || event.altKey || event.metaKey) return;
  const act = KEYS[event.key];
  if (act) act(byKey.get(chosen), lineOf(chosen));
  else if (event.key.length === 1) typeAhead(event.key);
  else return;
  event.preventDefault();
});
$("tree").addEventListener("scroll", () => requestAnimationFrame(showRows), {passive: true});
$("tree").addEventListener("focus", () => { if (!byKey.has(chosen)) moveTo(0); });
$("tree").addEventListener("blur", () => point(null));

let rested = "";

/** Whether it is the pointer that has moved, and not what lies under it. */
function moved(event) {
  return event.screenX + "," + event.screenY !== rested;
}

addEventListener("pointermove", (event) => { rested = event.screenX + "," + event.screenY; }); // after those it goes through

function keyAt(event) {
  const element = event.target.closest(".row");
  return element && element.dataset.key;
}

$("tree").addEventListener("pointermove", (event) => { if (moved(event)) point(keyAt(event)); });
$("tree").addEventListener("pointerleave", (event) => { if (moved(event)) point(null); });
$("tree").addEventListener("click", (event) => {
  const node = byKey.get(keyAt(event));
  if (!node) return;
  if (event.target.classList.contains("fold") && node.children) toggle(node, closed.has(node.key));
  else choose(node);
});
$("tree").addEventListener("dblclick", (event) => {
  const node = byKey.get(keyAt(event));
  if (node && node.children) toggle(node, closed.has(node.key));
});

// ---- The picture

const canvas = $("picture");
const paint = canvas.getContext("2d");
let box = [0, 0, 0, 0]; // of the picture, on the screen

function numbers(response, name) {
  return response.headers.get(name).split(",").map(Number);
}

async function takePicture(since) {
  const response = await fetch("picture?" + since);
  if (!response.ok) throw new Error(response.statusText);
  const all = numbers(response, "X-Box");
  const [x, y, width, height] = numbers(response, "X-Part");
  const image = response.status === 200 ? await createImageBitmap(await response.blob()) : null;
  if (String(all) !== String(box)) {
    box = all;
    canvas.width = Math.max(1, all[2]);
    canvas.height = Math.max(1, all[3]);
    fit();
  }
  if (image) {
    paint.clearRect(x - box[0], y - box[1], width, height);
    paint.drawImage(image, x - box[0], y - box[1]);
    image.close();
  }
  canvas.hidden = !box[2];
  return Number(response.headers.get("X-Picture"));
}

let scale = 1;

function fit() {
  const stage = $("stage");
  const isNarrow = matchMedia("(max-width: 50rem)").matches; // as in the style sheet
  const height = isNarrow ? innerHeight * 0.6 : stage.clientHeight;
  scale = Math.min(1.5, stage.clientWidth / canvas.width, height / canvas.height);
  stage.style.height = isNarrow ? Math.ceil(canvas.height * scale) + "px" : "";
  canvas.style.transform = "scale(" + scale + ")";
  showFrames();
}

new ResizeObserver(() => { fit(); showRows(); }).observe($("stage"));
new ResizeObserver(showRows).observe($("tree"));

function contains([left, top, width, height], x, y) {
  return x >= left && y >= top && x < left + width && y < top + height;
}

/** The smallest thing there, in the uppermost window. */
function nodeAt(event) {
  const place = canvas.getBoundingClientRect();
  const x = box[0] + (event.clientX - place.left) / scale;
  const y = box[1] + (event.clientY - place.top) / scale;
  const there = nodes.filter((node) => node.depth && node.seen && contains(node.seen, x, y));
  const height = (node) => stack.indexOf(node.window.key);
  const top = Math.max(...there.map(height));
  let best = null;
  for (const node of there) {
    if (height(node) === top && (!best || node.seen[2] * node.seen[3] <= best.seen[2] * best.seen[3])) best = node;
  }
  return best;
}

canvas.addEventListener("pointermove", (event) => {
  if (!moved(event)) return;
  const node = nodeAt(event);
  point(node && node.key);
});
canvas.addEventListener("pointerleave", (event) => { if (moved(event)) point(null); });
canvas.addEventListener("click", (event) => {
  const node = nodeAt(event);
  if (node) choose(node);
});

function frame(key, name) {
  const node = byKey.get(key);
  if (!node || !node.seen) return [];
  const element = make("div", name);
  const [left, top, width, height] = node.seen;
  element.style.left = (left - box[0]) * scale + "px";
  element.style.top = (top - box[1]) * scale + "px";
  element.style.width = width * scale + "px";
  element.style.height = height * scale + "px";
  return [element];
}

function showFrames() {
  $("frames").replaceChildren(...matches.flatMap((key) => frame(key, "match")), ...frame(chosen, "chosen"),
    ...frame(over, "over"));
}

// ---- The frame on the real screen

let wanted = null;
let asking = false;
let again = false;

/** What the pointer or the keyboard is at is framed, on the page and on the screen; null for nothing. */
function point(key) {
  if ((key || null) === over) return;
  const before = over;
  over = key || null;
  for (const each of [before, over]) {
    const element = each && document.getElementById("row-" + each);
    if (element) element.classList.toggle("over", each === over);
  }
  const node = byKey.get(over);
  $("under").textContent = node ? [node.role, node.text && JSON.stringify(node.text.slice(0, 200)), rest(node)]
    .filter(Boolean).join(" ") : "Point at something; a click selects it.";
  showFrames();
  mark(over);
}

async function mark(key) {
  wanted = key;
  if (asking) { again = true; return; }
  if (isOver) return;
  asking = true;
  do {
    again = false;
    try {
      await fetch("frame", {method: "POST", body: wanted || ""});
    } catch (gone) {
      break;
    }
  } while (again);
  asking = false;
}

setInterval(() => { if (wanted && !document.hidden) mark(wanted); }, RENEW);

function unmark() {
  if (!wanted || isOver) return;
  wanted = null;
  fetch("frame", {method: "POST", body: "", keepalive: true}).catch(() => {});
}

addEventListener("pagehide", unmark);
document.addEventListener("visibilitychange", () => { if (document.hidden) unmark(); });

// ---- What is known of the chosen one

const PROPERTIES = ["role", "text", "label", "name", "tip", "class", "value", "columns", "rows", "path"];
let lineFor = null;
let detailsFor = null;

function property(name, value) {
  const line = make("tr");
  const head = make("th", "", name);
  head.scope = "row";
  line.append(head, make("td", "", value));
  return line;
}

function place([x, y, width, height]) {
  return x + "," + y + "  " + width + " \u00d7 " + height;
}

function showDetails() {
  const node = byKey.get(chosen);
  const now = JSON.stringify(node, (name, value) => (name === "parent" || name === "window" ? undefined : value));
  if (now === detailsFor && lineFor === chosen) return;
  detailsFor = now;
  const lines = node ? PROPERTIES.filter((name) => node[name] !== undefined)
    .map((name) => property(name, String(node[name]))) : [];
  if (node) {
    lines.push(property("state", node.state.join(", ") || "showing, enabled"), property("place", place(node.box)));
    if (node.seen && String(node.seen) !== String(node.box)) lines.push(property("in sight", place(node.seen)));
    if (node.xwindow) lines.push(property("X window", node.xwindow));
  }
  $("properties").tBodies[0].replaceChildren(...lines);
  showLine();
}

async function showLine() {
  const key = chosen;
  lineFor = key;
  let line = "";
  let reason = "";
  if (byKey.has(key) && !isOver) {
    try {
      const answer = await (await fetch("line?" + key)).json();
      line = answer.line;
      reason = line ? "" : answer.reason || "No question finds this alone.";
    } catch (gone) {
      reason = "";
    }
  }
  if (key !== chosen) return;
  $("line").value = line;
  $("line").placeholder = reason;
  $("line").title = line || reason;
  $("copy").disabled = !line;
}

$("copy").addEventListener("click", async () => {
  const button = $("copy");
  try {
    await navigator.clipboard.writeText($("line").value);
    button.textContent = "Copied";
  } catch (notAllowed) {
    $("line").select();
    button.textContent = document.execCommand("copy") ? "Copied" : "Selected";
  }
  setTimeout(() => { button.textContent = "Copy"; }, 1500);
});
$("line").addEventListener("focus", () => $("line").select());

// ---- Queries

function showMatches(found) {
  matches = found.map((match) => match.key);
  $("matches").replaceChildren(...found.map((match) => {
    const button = make("button", "", match.line);
    button.type = "button";
    button.addEventListener("click", () => chooseMatch(match, button));
    button.addEventListener("focus", () => point(match.key));
    button.addEventListener("blur", () => point(null));
    button.addEventListener("pointermove", (event) => { if (moved(event)) point(match.key); });
    button.addEventListener("pointerleave", (event) => { if (moved(event)) point(null); });
    const item = make("li");
    item.append(button);
    return item;
  }));
  $("matches").hidden = !found.length;
  showFrames();
  showRows();
}

function chooseMatch(match, button) {
  for (const each of $("matches").querySelectorAll("[aria-current]")) each.removeAttribute("aria-current");
  button.setAttribute("aria-current", "true");
  const node = byKey.get(match.key);
  if (node) choose(node);
}

$("ask").addEventListener("submit", async (event) => {
  event.preventDefault();
  const text = $("query").value.trim();
  if (!text || isOver) return;
  const say = $("found");
  try {
    const answer = await (await fetch("query", {method: "POST", body: text})).json();
    say.classList.toggle("bad", Boolean(answer.reason));
    say.textContent = answer.reason || answer.line + " finds " + (answer.count === 1 ? "one." : answer.count
      ? answer.count + (answer.count > answer.matches.length ? "; the first " + answer.matches.length + ":" : ":") : "nothing.");
    showMatches(answer.matches || []);
    const first = answer.matches && byKey.get(answer.matches[0] && answer.matches[0].key);
    if (first) {
      choose(first);
      point(first.key);
    }
  } catch (gone) {
    say.textContent = "";
  }
});
$("query").addEventListener("blur", () => point(null));
$("forget").addEventListener("click", () => {
  $("query").value = "";
  $("found").textContent = "";
  showMatches([]);
  $("query").focus();
});
addEventListener("keydown", (event) => {
  if (event.key === "Escape") point(null);
});

// ---- Waiting for what is new

const pause = (milliseconds) => new Promise((resume) => setTimeout(resume, milliseconds));

function visible() {
  return document.hidden
    ? new Promise((resume) => document.addEventListener("visibilitychange", resume, {once: true})) : null;
}

function say(news) {
  if ($("news").textContent !== news) $("news").textContent = news;
}

function finish(end) {
  isOver = true;
  document.body.classList.add("over");
  point(null);
  say(end);
  document.title = "Ended: " + document.title;
}

async function watch() {
  let picture = 0;
  let tree = 0;
  let news = 0;
  for (;;) {
    await visible();
    try {
      const response = await fetch("look?" + [picture, tree, news].join("."));
      if (!response.ok) throw new Error(await response.text());
      const now = await response.json();
      news = now.news;
      $("name").textContent = now.name;
      document.title = now.name + " \u2013 Inspector";
      if (now.end) return finish(now.end);
      if (now.tree !== tree) {
        takeTree(await (await fetch("tree")).json());
        tree = now.tree;
      }
      if (now.picture !== picture) picture = await takePicture(picture);
      say(now.trouble || (now.tree && !box[2] ? "The program shows no window." : ""));
    } catch (gone) {
      say(gone instanceof TypeError ? "The inspector does not answer: it has ended, or the connection to it." : gone.message);
      await pause(2000);
    }
  }
}

watch();
