"use strict";
(() => {
  const maxActive = 2;
  const maxAttempts = 5;
  const retryMilliseconds = 5000;
  const pollMilliseconds = 5000;
  const nameKey = "tarvinel.name";

  const byId = (id) => document.getElementById(id);
  const [closed, name, drop, pick, fileInput, queue, total] =
    ["closed", "name", "drop", "pick", "file-input", "queue", "total"].map(byId);

  // Private windows deny storage: then the user has to type the name again.
  try {
    name.value = localStorage.getItem(nameKey) || "";
  } catch (refused) {}
  name.addEventListener("input", () => {
    try {
      localStorage.setItem(nameKey, name.value);
    } catch (refused) {}
  });

  pick.addEventListener("click", () => fileInput.click());
  fileInput.addEventListener("change", () => {
    enqueue(fileInput.files);
    fileInput.value = "";
  });
  drop.addEventListener("dragover", (event) => {
    event.preventDefault();
    drop.classList.add("over");
  });
  drop.addEventListener("dragleave", () => drop.classList.remove("over"));
  drop.addEventListener("drop", (event) => {
    event.preventDefault();
    drop.classList.remove("over");
    enqueue(event.dataTransfer.files);
  });

  const waiting = [];
  let active = 0;

  function enqueue(files) {
    for (const file of files) waiting.push(newItem(file));
    pump();
  }

  function newItem(file) {
    const item = { file, attempts: 0, row: queue.appendChild(document.createElement("li")) };
    const part = (kind, className) => {
      const element = item.row.appendChild(document.createElement(kind));
      element.className = className;
      return element;
    };
    part("span", "label").textContent = file.name;
    item.bar = part("progress", "");
    item.bar.max = 100;
    item.bar.value = 0;
    item.status = part("span", "status");
    item.status.textContent = "waiting";
    return item;
  }

  function pump() {
    while (active < maxActive && waiting.length > 0) upload(waiting.shift());
  }

  // A name can hold half of a surrogate pair, which cannot be encoded in an address.
  function encoded(text) {
    return encodeURIComponent(text.replace(/[\uD800-\uDFFF]/gu, "\uFFFD"));
  }

  // Browsers drop an empty part, "." and ".." from an address, which then belongs to no upload: a
  // blank lets the server report what is missing.
  function participant() {
    const typed = name.value.trim();
    return /^\.{0,2}$/.test(typed) ? " " : typed;
  }

  function upload(item) {
    active += 1;
    const request = new XMLHttpRequest();
    request.open("PUT", "/upload/" + encoded(participant()) + "/" + encoded(item.file.name));
    request.upload.addEventListener("progress", (event) => {
      if (!event.lengthComputable) return;
      const pct = Math.round((event.loaded / event.total) * 100);
      item.bar.value = pct;
      item.status.textContent = "uploading " + pct + "%";
    });
    request.addEventListener("load", () => {
      active -= 1;
      answered(item, request);
      pump();
    });
    request.addEventListener("error", () => {
      active -= 1;
      fail(item, "connection error");
      pump();
    });
    request.send(item.file);
  }

  function answered(item, request) {
    if (request.status === 201) {
      item.bar.value = 100;
      item.status.textContent = "done as " + (member(request, "file") || item.file.name);
    } else if (request.status === 503 && item.attempts < maxAttempts) {
      item.attempts += 1;
      item.bar.value = 0;
      item.status.textContent = "busy, retrying";
      setTimeout(() => upload(item), retryMilliseconds);
    } else {
      fail(item, member(request, "error") || "upload failed");
    }
  }

  function fail(item, reason) {
    item.row.classList.add("failed");
    item.status.textContent = reason;
  }

  // Returns a member of the response's JSON, or undefined if it cannot be read.
  function member(request, key) {
    try {
      return JSON.parse(request.responseText)[key];
    } catch (unreadable) {
      return undefined;
    }
  }

  async function poll() {
    try {
      const response = await fetch("/upload/status", { cache: "no-store" });
      if (response.status === 200) show(await response.json());
    } catch (ignored) {}
  }

  function show(status) {
    const open = status.enabled !== false;
    closed.hidden = open;
    total.hidden = !open;
    drop.classList.toggle("disabled", !open);
    for (const control of [name, pick, fileInput]) control.disabled = !open;
    total.textContent =
      counted(status.files, "file") + " received from " + counted(status.participants, "participant");
  }

  function counted(count = 0, noun = "") {
    return count + " " + noun + (count === 1 ? "" : "s");
  }

  poll();
  setInterval(poll, pollMilliseconds);
})();
