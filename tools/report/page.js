"use strict";
// The contact sheet. Records stand in the page as JSON, in blocks of class "records"; the pictures
// of sixty-four records each follow in blocks of their own, which may still be on their way when
// the sheet is first drawn. Only cards near the window exist. What records say reaches the page as
// text alone.
(() => {
  const kPicturesInBlock = 64;
  const kCard = { width: 216, height: 292, gap: 16, rowsBeyond: 2 };
  const kProblemsShown = 100;
  const kKindNames = {
    pdf: "PDF", image: "Image", movie: "Movie", sound: "Sound", richtext: "Rich text",
    html: "HTML", webarchive: "Web archive", feed: "Feed", text: "Text", package: "Package",
    other: "Other",
  };

  const byId = (id) => document.getElementById(id);
  const sheet = byId("sheet");
  const dialog = byId("details");

  const records = [];
  for (const block of document.querySelectorAll("script.records")) {
    records.push(...JSON.parse(block.textContent));
    block.remove();
  }
  records.forEach((record, index) => {
    record.index = index;
    record.kind ||= "other";
  });

  // An element of a class, with text and children.
  const make = (tag, className, ...children) => {
    const element = document.createElement(tag);
    if (className) element.className = className;
    element.append(...children.filter((child) => child !== null && child !== ""));
    return element;
  };

  // What records say, in words

  const counted = (count, noun) => `${count.toLocaleString("en")} ${noun}${count === 1 ? "" : "s"}`;

  const sizeText = (bytes) => {
    const units = ["B", "kB", "MB", "GB", "TB"];
    let unit = 0;
    while (bytes >= 999.5 && unit + 1 < units.length) bytes /= 1000, ++unit;
    return `${unit === 0 || bytes >= 99.95 ? Math.round(bytes) : bytes.toFixed(1)} ${units[unit]}`;
  };

  const durationText = (seconds) => {
    const whole = Math.round(seconds);
    if (whole < 60) return `${seconds < 10 ? seconds.toFixed(1) : whole} s`;
    const two = (number) => String(number).padStart(2, "0");
    const minutes = Math.floor(whole / 60);
    if (minutes < 60) return `${minutes}:${two(whole % 60)}`;
    return `${Math.floor(minutes / 60)}:${two(minutes % 60)}:${two(whole % 60)}`;
  };

  const dateText = (time) => {
    const date = new Date(time);
    if (Number.isNaN(date.getTime())) return String(time);
    return date.toLocaleString(undefined, { dateStyle: "medium", timeStyle: "short" });
  };

  // Lone surrogates stand for bytes that are no UTF-8.
  const shown = (text) => text.toWellFormed?.() ?? text;

  const nameOf = (record) => shown(record.path.replace(/\/+$/, "").replace(/^.*\//s, ""));

  // What all paths begin with need not be said of each.
  const commonFolder = () => {
    let common = records[0]?.path ?? "";
    for (const { path } of records) {
      let length = 0;
      while (length < common.length && common[length] === path[length]) ++length;
      common = common.slice(0, length);
    }
    return common.slice(0, common.lastIndexOf("/") + 1);
  };
  const common = commonFolder();
  const pathBelow = (record) => shown(record.path.slice(common.length) || record.path);

  const titleOf = (record) => shown(record.title || "") || nameOf(record);

  const pixelsOf = (record) => {
    const properties = record.properties ?? {};
    if (properties.PixelWidth) return `${properties.PixelWidth} × ${properties.PixelHeight}`;
    const size = /^\{([\d.]+), ([\d.]+)\}$/.exec(properties.PixelSize ?? properties.Size ?? "");
    return size ? `${size[1]} × ${size[2]}` : "";
  };

  const factsOf = (record) => {
    const facts = [kKindNames[record.kind] ?? record.kind];
    if (record.pages) facts.push(counted(record.pages, "page"));
    if (record.duration) facts.push(durationText(record.duration));
    if (pixelsOf(record)) facts.push(pixelsOf(record));
    if (record.properties?.ItemCount) facts.push(counted(record.properties.ItemCount, "item"));
    if (record.size !== undefined) facts.push(sizeText(record.size));
    return facts.join(" · ");
  };

  const valueText = (value) => {
    if (value === null) return "–";
    if (typeof value === "boolean") return value ? "yes" : "no";
    if (Array.isArray(value)) return value.map(valueText).join(", ");
    if (typeof value !== "object") return shown(String(value));
    const keys = Object.keys(value);
    if (keys.length === 1 && keys[0] === "date") return dateText(value.date * 1000);
    if (keys.length === 1 && keys[0] === "url") return shown(String(value.url));
    if (keys.length === 1 && keys[0] === "bytes") return "(data)";
    return keys.map((key) => `${shown(key)}: ${valueText(value[key])}`).join("; ");
  };

  // "kMDItemPixelHeight" and "{Exif}" as words.
  const labelOf = (key) =>
    shown(key).replace(/^(kMDItem|org_corvystack_)/, "").replace(/^\{(.*)\}$/, "$1")
      .replace(/([a-z])([A-Z])/g, "$1 $2").replace(/^./, (first) => first.toUpperCase());

  // Pictures

  const blocks = new Map();

  // The picture's data URL: null when there is none, undefined while it is not here yet.
  const pictureOf = (record) => {
    if (!record.thumbnail) return null;
    const number = Math.floor(record.index / kPicturesInBlock);
    let block = blocks.get(number);
    if (!block) {
      const element = byId(`pictures-${number}`);
      // One that is still being read may be cut off.
      if (!element || (document.readyState === "loading" && !element.nextElementSibling)) {
        return document.readyState === "loading" ? undefined : null;
      }
      block = JSON.parse(element.textContent);
      blocks.set(number, block);
      if (blocks.size > 24) blocks.delete(blocks.keys().next().value);
    }
    const data = block[record.index % kPicturesInBlock];
    if (!data) return null;
    return `data:image/${data.startsWith("/9j/") ? "jpeg" : "png"};base64,${data}`;
  };

  const imageOf = (record, source) => {
    const image = make("img");
    image.decoding = "async";
    image.alt = "";
    image.width = record.thumbnail.width;
    image.height = record.thumbnail.height;
    image.src = source;
    return image;
  };

  // Cards

  const drawPicture = (card, record) => {
    const source = pictureOf(record);
    const place = card.querySelector(".picture");
    place.classList.toggle("waiting", source === undefined);
    if (source) {
      place.prepend(imageOf(record, source));
    } else if (source === null && record.snippet) {
      place.prepend(make("span", "paper", shown(record.snippet)));
    } else if (source === null) {
      const extension = /\.([^.]{1,5})$/.exec(nameOf(record))?.[1];
      place.prepend(make("span", "blank", (extension ?? record.kind.slice(0, 5)).toUpperCase()));
    }
  };

  const makeCard = (record) => {
    const button = make("button", `card k-${record.kind}`);
    button.type = "button";
    button.setAttribute("aria-haspopup", "dialog");
    const picture = make("span", "picture");
    if (record.error) {
      picture.append(make("span", record.failure ? "flag failure" : "flag", record.error));
    }
    // With a picture of text above, the second line tells where the file is.
    const below = record.failure || (record.thumbnail && record.snippet) ||
      (record.title || pathBelow(record) !== nameOf(record) ? pathBelow(record) : "");
    button.append(
      picture,
      make("span", "words",
        make("span", "name", titleOf(record)),
        make("span", "snippet", shown(below)),
        make("span", "facts", make("span", "dot"), make("span", "", factsOf(record)))));
    button.title = shown(record.path);
    drawPicture(button, record);
    return make("li", "", button);
  };

  // The sheet: of the chosen records, those near the window

  let chosen = records;
  let columns = 1;
  let current = 0;  // position that takes the focus
  const cards = new Map();  // by position

  const place = (item, position, width) => {
    const x = (position % columns) * (width + kCard.gap);
    const y = Math.floor(position / columns) * (kCard.height + kCard.gap);
    item.style.width = `${width}px`;
    item.style.height = `${kCard.height}px`;
    item.style.transform = `translate(${x}px, ${y}px)`;
  };

  const draw = () => {
    const space = sheet.clientWidth;
    columns = Math.max(1, Math.floor((space + kCard.gap) / (kCard.width + kCard.gap)));
    const width = (space - (columns - 1) * kCard.gap) / columns;
    const rowHeight = kCard.height + kCard.gap;
    sheet.style.height = `${Math.ceil(chosen.length / columns) * rowHeight}px`;
    const top = -sheet.getBoundingClientRect().top;
    const firstRow = Math.floor(top / rowHeight) - kCard.rowsBeyond;
    const endRow = Math.ceil((top + window.innerHeight) / rowHeight) + kCard.rowsBeyond;
    const first = Math.max(0, firstRow * columns);
    const end = Math.min(chosen.length, endRow * columns);
    const hasFocus = sheet.contains(document.activeElement);
    for (const [position, item] of cards) {
      if ((position < first || position >= end) && !(hasFocus && position === current)) {
        item.remove();
        cards.delete(position);
      }
    }
    for (let position = first; position < end; ++position) {
      if (cards.has(position)) continue;
      const item = makeCard(chosen[position]);
      item.setAttribute("aria-setsize", chosen.length);
      item.setAttribute("aria-posinset", position + 1);
      item.dataset.position = position;
      cards.set(position, item);
      const after = [...sheet.children].find((other) => other.dataset.position > position);
      sheet.insertBefore(item, after ?? null);
    }
    for (const [position, item] of cards) {
      place(item, position, width);
      item.firstChild.tabIndex = position === current ? 0 : -1;
    }
    // Tab finds its way in even where the current card is far away.
    if (cards.size > 0 && !cards.has(current)) {
      cards.get(Math.min(...cards.keys())).firstChild.tabIndex = 0;
    }
  };

  const focusCard = (position) => {
    current = Math.min(Math.max(position, 0), chosen.length - 1);
    const rowHeight = kCard.height + kCard.gap;
    const y = Math.floor(current / columns) * rowHeight + sheet.getBoundingClientRect().top;
    const head = document.querySelector(".top");
    const covered = getComputedStyle(head).position === "sticky" ? head.offsetHeight + 8 : 8;
    if (y < covered) window.scrollBy(0, y - covered);
    const beyond = y + kCard.height + 8 - window.innerHeight;
    if (beyond > 0) window.scrollBy(0, beyond);
    draw();
    cards.get(current)?.firstChild.focus({ preventScroll: true });
  };

  let waiting = false;
  const drawSoon = () => {
    if (waiting) return;
    waiting = true;
    requestAnimationFrame(() => {
      waiting = false;
      draw();
    });
  };

  // Pictures that have come since their cards were drawn.
  const drawMissingPictures = () => {
    for (const [position, item] of cards) {
      if (item.querySelector(".waiting")) drawPicture(item, chosen[position]);
    }
  };

  // Filter and order

  const fold = (text) => text.normalize("NFD").replace(/\p{M}/gu, "").toLowerCase();

  const searched = (record) =>
    (record.folded ??= fold([record.path, record.title, record.type, record.kind, record.error,
      record.snippet, record.properties?.Author].filter(Boolean).join("\n")));

  const collator = new Intl.Collator(undefined, { numeric: true, sensitivity: "base" });
  const orders = {
    order: (a, b) => a.index - b.index,
    name: (a, b) => collator.compare(titleOf(a), titleOf(b)),
    modified: (a, b) => (b.modified ?? "").localeCompare(a.modified ?? ""),
    size: (a, b) => (b.size ?? -1) - (a.size ?? -1),
    kind: (a, b) => a.kind.localeCompare(b.kind),
    seconds: (a, b) => b.seconds - a.seconds,
  };

  const kinds = new Set();  // chosen ones; none: every kind
  let failedOnly = false;

  const choose = () => {
    const words = fold(byId("filter").value).split(/\s+/).filter(Boolean);
    chosen = records.filter((record) =>
      (kinds.size === 0 || kinds.has(record.kind)) && (!failedOnly || record.failure) &&
      words.every((word) => searched(record).includes(word)));
    const sign = byId("direction").getAttribute("aria-pressed") === "true" ? -1 : 1;
    const compare = orders[byId("sort").value];
    chosen.sort((a, b) => sign * (compare(a, b) || a.index - b.index));
    for (const item of cards.values()) item.remove();
    cards.clear();
    current = 0;
    byId("none").hidden = chosen.length > 0;
    byId("count").textContent =
      chosen.length === records.length ? "" : `${counted(chosen.length, "file")} of ${records.length.toLocaleString("en")}`;
    if (sheet.getBoundingClientRect().top < 0) window.scrollTo(0, 0);
    draw();
  };

  const toggle = (button, isOn) => button.setAttribute("aria-pressed", String(isOn));

  const addChip = (name, className, count, act) => {
    const chip = make("button", className, make("span", "dot"), name, make("b", "", count.toLocaleString("en")));
    chip.type = "button";
    toggle(chip, false);
    chip.addEventListener("click", () => {
      toggle(chip, act());
      choose();
    });
    byId("kinds").append(chip);
    return chip;
  };

  let failedChip = null;

  const addChips = (failures) => {
    const counts = new Map();
    for (const record of records) counts.set(record.kind, (counts.get(record.kind) ?? 0) + 1);
    for (const [kind, count] of [...counts].sort((a, b) => b[1] - a[1])) {
      addChip(kKindNames[kind] ?? kind, `k-${kind}`, count, () => {
        if (!kinds.delete(kind)) kinds.add(kind);
        return kinds.has(kind);
      });
    }
    if (failures.length > 0) {
      failedChip = addChip("Failed", "k-pdf", failures.length, () => (failedOnly = !failedOnly));
    }
  };

  const reset = () => {
    byId("filter").value = "";
    kinds.clear();
    failedOnly = false;
    for (const chip of byId("kinds").children) toggle(chip, false);
    choose();
  };

  // Failures, above the sheet

  const showProblems = (failures) => {
    byId("problems").hidden = failures.length === 0;
    byId("problems-title").textContent = `${counted(failures.length, "file")} could not be read`;
    byId("problem-list").append(...failures.slice(0, kProblemsShown).map((record) => {
      const button = make("button", "", make("span", "error", record.error),
        make("span", "path", pathBelow(record)), make("span", "reason", record.failure));
      button.type = "button";
      button.addEventListener("click", () => open(record));
      return make("li", "", button);
    }));
    const all = byId("all-problems");
    all.hidden = failures.length <= kProblemsShown;
    all.textContent = `Show all ${failures.length.toLocaleString("en")} in the sheet`;
    all.addEventListener("click", () => failedOnly || failedChip.click());
  };

  // One file

  let opened = null;

  const table = (heading, entries) => {
    if (entries.length === 0) return [];
    const list = make("dl");
    for (const [key, value] of entries) list.append(make("dt", "", key), make("dd", "", value));
    return [make("h3", "", heading), list];
  };

  const attributes = (dictionary) =>
    Object.entries(dictionary ?? {}).map(([key, value]) => [labelOf(key), valueText(value)]);

  const fileFacts = (record) => [
    ["Type", record.type],
    ["Size", record.size === undefined ? "" : `${sizeText(record.size)} (${record.size.toLocaleString("en")} bytes)`],
    ["Changed", record.modified ? dateText(record.modified) : ""],
    ["Pages", record.pages],
    ["Duration", record.duration ? durationText(record.duration) : ""],
    ["Length of text", record.length ? `${record.length.toLocaleString("en")} characters` : ""],
    ["Import took", `${record.seconds} s`],
  ].filter(([, value]) => value !== "" && value !== undefined).map(([key, value]) => [key, String(value)]);

  const show = (record) => {
    opened = record;
    const title = make("h2", "", titleOf(record));
    title.id = "details-title";
    const words = make("div", "", title, make("p", "where", shown(record.path)));
    if (record.failure) words.append(make("p", "failed", `${record.error}: ${record.failure}`));
    if (record.remark) words.append(make("p", "where", record.remark));
    if (record.snippet) words.append(make("p", "excerpt", `${shown(record.snippet)}${record.cut ? " …" : ""}`));
    const intro = make("div", "intro");
    const source = pictureOf(record);
    if (source) intro.append(imageOf(record, source));
    intro.append(words);
    const body = byId("details-body");
    body.replaceChildren(intro, ...table("File", fileFacts(record)),
      ...table("Properties", attributes(record.properties)),
      ...table("Metadata", attributes(record.metadata)));
    body.scrollTop = 0;
    const position = chosen.indexOf(record);
    byId("position").textContent = position < 0 ? "" : `${(position + 1).toLocaleString("en")} of ${chosen.length.toLocaleString("en")}`;
    byId("previous").disabled = position <= 0;
    byId("next").disabled = position < 0 || position + 1 === chosen.length;
  };

  const open = (record) => {
    show(record);
    if (!dialog.open) dialog.showModal();
    byId("details-body").focus();
  };

  const step = (by) => {
    const position = chosen.indexOf(opened);
    if (position >= 0 && chosen[position + by]) show(chosen[position + by]);
  };

  // Events

  sheet.addEventListener("click", (event) => {
    const item = event.target.closest("li");
    if (!item) return;
    current = Number(item.dataset.position);
    open(chosen[current]);
  });

  sheet.addEventListener("keydown", (event) => {
    const page = Math.max(1, Math.floor(window.innerHeight / (kCard.height + kCard.gap)) - 1);
    const steps = {
      ArrowLeft: -1, ArrowRight: 1, ArrowUp: -columns, ArrowDown: columns,
      PageUp: -columns * page, PageDown: columns * page, Home: -Infinity, End: Infinity,
    };
    if (!(event.key in steps) || event.ctrlKey || event.altKey || event.metaKey) return;
    event.preventDefault();
    focusCard(Number(event.target.closest("li").dataset.position) + steps[event.key]);
  });

  document.addEventListener("keydown", (event) => {
    const types = event.target.matches?.("input, select");
    if (event.key !== "/" || types || dialog.open || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    byId("filter").focus();
  });

  dialog.addEventListener("keydown", (event) => {
    if (event.key === "ArrowLeft") step(-1);
    if (event.key === "ArrowRight") step(1);
  });
  dialog.addEventListener("click", (event) => {
    if (event.target === dialog) dialog.close();
  });
  dialog.addEventListener("close", () => {
    const position = chosen.indexOf(opened);
    if (position >= 0 && position !== current && sheet.contains(document.activeElement)) focusCard(position);
  });

  byId("previous").addEventListener("click", () => step(-1));
  byId("next").addEventListener("click", () => step(1));
  byId("close").addEventListener("click", () => dialog.close());
  byId("tools").addEventListener("submit", (event) => event.preventDefault());
  byId("filter").addEventListener("input", choose);
  byId("sort").addEventListener("change", choose);
  byId("direction").addEventListener("click", (event) => {
    const button = event.currentTarget;
    toggle(button, button.getAttribute("aria-pressed") !== "true");
    choose();
  });
  byId("reset").addEventListener("click", reset);
  window.addEventListener("scroll", drawSoon, { passive: true });
  window.addEventListener("resize", drawSoon);

  const failures = records.filter((record) => record.failure);
  const bytes = records.reduce((sum, record) => sum + (record.size ?? 0), 0);
  byId("totals").textContent = `${counted(records.length, "file")} · ${sizeText(bytes)}`;
  addChips(failures);
  showProblems(failures);
  choose();

  if (document.readyState === "loading") {
    const timer = setInterval(drawMissingPictures, 150);
    document.addEventListener("DOMContentLoaded", () => {
      clearInterval(timer);
      drawMissingPictures();
    });
  }
})();
