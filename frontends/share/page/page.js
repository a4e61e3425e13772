// Scans one page by the protocol that every other client uses. Without it, everything on the page works but the form.
"use strict";

const pwg = "http://www.pwg.org/schemas/2010/12/sm";
const scan = "http://schemas.hp.com/imaging/escl/2011/05/03";

const byId = (id) => document.getElementById(id);
const [form, settings, running, amount, message, result, state] =
  ["form", "settings", "running", "amount", "message", "result", "state"].map(byId);

// The running scan: how to abort its requests, the path of its job once known, and whether nothing has arrived yet.
let current = null;
let offered = null;  // the address of the file that is offered

class Refusal extends Error {}

function showMessage(kind, detail = "") {
  message.textContent = message.dataset[kind] + (detail ? " " + detail : "");
  message.classList.toggle("bad", ["busy", "failed", "lost"].includes(kind));
}

function ticketOf({format, mode, resolution}) {
  return `<?xml version="1.0" encoding="UTF-8"?>
<scan:ScanSettings xmlns:pwg="${pwg}" xmlns:scan="${scan}">
<pwg:Version>2.63</pwg:Version>
<pwg:InputSource>Platen</pwg:InputSource>
<scan:ColorMode>${mode}</scan:ColorMode>
<scan:XResolution>${resolution}</scan:XResolution>
<scan:YResolution>${resolution}</scan:YResolution>
<scan:DocumentFormatExt>${format}</scan:DocumentFormatExt>
</scan:ScanSettings>`;
}

function sizeOf(bytes) {
  const megabytes = new Intl.NumberFormat(document.documentElement.lang,
    {style: "unit", unit: "megabyte", minimumFractionDigits: 1, maximumFractionDigits: 1});
  return megabytes.format(bytes / 1e6);
}

async function expectSuccess(response) {
  if (response.ok) return response;
  if (response.status === 503) throw new Refusal("busy");
  throw new Refusal("failed", {cause: await response.text()});
}

// The path of the new job. Cannot be aborted: a job whose path is not known could not be canceled.
async function startJob(ticket) {
  const response = await expectSuccess(
    await fetch("/eSCL/ScanJobs", {method: "POST", headers: {"Content-Type": "text/xml"}, body: ticket}));
  return response.headers.get("Location");
}

async function receive(job, type, signal) {
  const response = await expectSuccess(await fetch(job + "/NextDocument", {signal}));
  current.waiting = false;
  showMessage("receiving");
  const parts = [];
  let bytes = 0;
  const reader = response.body.getReader();
  for (let part = await reader.read(); !part.done; part = await reader.read()) {
    parts.push(part.value);
    bytes += part.value.length;
    amount.textContent = sizeOf(bytes);
  }
  return new Blob(parts, {type});
}

// While the scanner warms up, the server holds a request for a minute, then asks the client to retry.
async function receiveWarm(job, type, signal) {
  for (;;) {
    try {
      return await receive(job, type, signal);
    } catch (error) {
      if (error.message !== "busy") throw error;
    }
  }
}

// A transfer that breaks off may be repeated without another scan. If it broke off because the scan failed, the
// second request is refused with the reason.
async function receiveAgain(job, type, signal) {
  try {
    return await receiveWarm(job, type, signal);
  } catch (error) {
    if (signal.aborted || error instanceof Refusal) throw error;
    return receive(job, type, signal);
  }
}

function fileName(extension) {
  const now = new Date();
  const two = (number) => String(number).padStart(2, "0");
  const day = [now.getFullYear(), two(now.getMonth() + 1), two(now.getDate())].join("-");
  return `scan-${day}-${two(now.getHours())}${two(now.getMinutes())}${two(now.getSeconds())}.${extension}`;
}

function offer(blob, extension) {
  if (offered) URL.revokeObjectURL(offered);
  offered = URL.createObjectURL(blob);
  byId("save").href = offered;
  byId("save").download = fileName(extension);
  result.hidden = false;
  showMessage("done", sizeOf(blob.size));
  byId("save").focus();
}

function setRunning(runs) {
  settings.disabled = runs;
  running.hidden = !runs;
  amount.textContent = "";
  if (runs) {
    result.hidden = true;
    byId("cancel").focus();
  }
}

function explain(error) {
  if (error.name === "AbortError") showMessage("canceled");
  else if (error instanceof Refusal) showMessage(error.message, error.cause);
  else showMessage("lost");
  byId("start").focus();
}

async function scanPage() {
  const ended = new AbortController();
  const format = form.elements.format.selectedOptions[0];
  const ticket = ticketOf(Object.fromEntries(new FormData(form)));  // without the disabled fields
  current = {ended, job: null, waiting: false};
  setRunning(true);
  showMessage("starting");
  let ending;
  try {
    current.job = await startJob(ticket);
    ended.signal.throwIfAborted();
    current.waiting = true;
    showMessage("warming");
    const blob = await receiveAgain(current.job, format.value, ended.signal);
    ending = () => offer(blob, format.dataset.extension);
  } catch (error) {
    ending = () => explain(error);
  }
  // Frees the scanner after an error and the stored page after a success; neither is worth a message.
  if (current.job) fetch(current.job, {method: "DELETE"}).catch(() => {});
  current = null;
  setRunning(false);
  ending();
  showStatus();
}

// A silent server is polled every second, too: this leaves two of the browser's six connections to the scan.
async function readStatus() {
  const signal = AbortSignal.timeout(4000);
  const response = await expectSuccess(await fetch("/eSCL/ScannerStatus", {cache: "no-store", signal}));
  return new DOMParser().parseFromString(await response.text(), "text/xml");
}

function textOf(parent, name) {
  return parent.getElementsByTagNameNS(pwg, name)[0].textContent;
}

function setState(name) {
  const text = state.dataset[name] ?? state.dataset.unreachable;
  if (state.textContent === text) return;
  state.textContent = text;
  state.className = name === "unreachable" ? "down" : name;
}

// What the scanner does before the first byte of the page.
function showWaiting(status) {
  for (const job of status.getElementsByTagNameNS(scan, "JobInfo")) {
    if (textOf(job, "JobUri") !== current.job) continue;
    const kind = textOf(job, "JobState") === "Pending" ? "warming" : "scanning";
    if (message.textContent !== message.dataset[kind]) showMessage(kind);
  }
}

async function showStatus() {
  try {
    const status = await readStatus();
    setState(textOf(status, "State").toLowerCase());
    if (current?.waiting) showWaiting(status);
  } catch {
    setState("unreachable");
  }
}

form.addEventListener("submit", (event) => {
  event.preventDefault();
  if (!current) scanPage();
});
byId("cancel").addEventListener("click", () => current?.ended.abort());
document.addEventListener("visibilitychange", () => document.hidden || showStatus());
let seconds = 0;
setInterval(() => {
  ++seconds;
  if (!document.hidden && (current || seconds % 5 === 0)) showStatus();
}, 1000);
settings.disabled = false;
