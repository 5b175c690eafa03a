"use strict";
(function () {
  const search = document.getElementById("search");
  const count = document.getElementById("count");
  const rows = Array.from(document.querySelectorAll("[data-row]"));
  const parts = Array.from(document.querySelectorAll("details"));
  const openBefore = new Map();

  function restore() {
    for (const [part, isOpen] of openBefore) part.open = isOpen;
    openBefore.clear();
  }

  // Shows the rows that contain the text, and unfolds what they are in.
  function find() {
    const wanted = search.value.trim().toLowerCase();
    restore();
    let found = 0;
    for (const row of rows) {
      const isFound = wanted === "" || (row.textContent + " " + (row.title || "")).toLowerCase().includes(wanted);
      row.hidden = !isFound;
      if (wanted === "" || !isFound) continue;
      found += 1;
      for (let part = row.closest("details"); part; part = part.parentElement.closest("details")) {
        if (!openBefore.has(part)) openBefore.set(part, part.open);
        part.open = true;
      }
    }
    count.textContent = wanted === "" ? "" : found + (found === 1 ? " place" : " places");
  }

  function foldAll(isOpen) {
    openBefore.clear();
    for (const part of parts) part.open = isOpen;
  }

  search.addEventListener("input", find);
  document.getElementById("unfold").addEventListener("click", function () { foldAll(true); });
  document.getElementById("fold").addEventListener("click", function () { foldAll(false); });
  document.querySelector(".tools").hidden = false;
})();
