// SPDX-License-Identifier: Apache-2.0
// The live view's page: follows /events (Server-Sent Events) and redraws what changed.
'use strict';

const $ = (id) => document.getElementById(id);
const esc = (s) => String(s).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' }[c]));
const fix = (v, n) => (v === null || v === undefined ? '-' : Number(v).toFixed(n));
const clock = (ms) => (ms ? new Date(ms).toLocaleTimeString([], { hour12: false }) : '');

let model = { link: null, robot: null, commands: null };
let arrivals = [];

function pill(el, text, cls) {
  el.textContent = text;
  el.className = 'pill ' + (cls || '');
}

function flag(name, on, error) {
  return `<span class="flag${on ? ' on' : ''}${error ? ' error' : ''}">${name}</span>`;
}

function renderLink(l) {
  const ts = $('telegram-state');
  pill(ts, l.telegramState.name, l.telegramState.value === 255 ? 'ok' : l.telegramState.value >= 161 && l.telegramState.value <= 173 ? 'bad' : 'mid');
  ts.title = 'TelegramState ' + l.telegramState.value;
  const ls = (who, x) => `${who} lifesign <b class="pill ${x.alive ? 'ok' : 'bad'}">${x.value} ${x.alive ? 'alive' : 'stopped'}</b>`;
  $('lifesigns').innerHTML = ls('PLC', l.lifesign.plc) + ' ' + ls('robot', l.lifesign.robot);
  $('client').textContent = l.connected ? l.connection.replace(/^PLC client /, '') : 'not connected' + (l.connection ? ' (' + l.connection + ')' : '');
  $('control').textContent = `${l.control} · PLC ${l.version.plc} / robot ${l.version.robot} · TelegramNumber ${l.telegramNumber.plcToRobot} / ${l.telegramNumber.robotToPlc}`;
  const s = l.status;
  $('status-flags').innerHTML = flag('enabled', s.enabled) + flag('moving', s.moving) + flag('error pending', s.errorPending, true) +
    flag('paused', s.paused) + flag('blending', s.blending) + flag('secondary', s.secondaryActive) +
    flag('restarting', s.restartInProgress) + flag('collision', s.collision, true) + ` <span class="dim">${s.raw}</span>`;
  $('sequence').textContent = `${s.sequence} · ${s.operationMode}`;
  $('override').textContent = fix(l.override, 2) + ' %';
  $('decode-errors').textContent = l.decodeErrors + (l.lastDecodeError ? ' – ' + l.lastDecodeError : '');
}

function renderJoints(r) {
  const rows = [];
  for (let i = 0; i < 6; i++) {
    const lim = r.limits[i];
    const [lo, hi] = lim.hard;
    const pct = (v) => (100 * (v - lo)) / (hi - lo);
    const v = r.joints ? r.joints[i] : null;
    const out = v !== null && (v < lim.soft[0] || v > lim.soft[1]);
    const mark = v === null ? '' : `<div class="mark" style="left:${Math.min(100, Math.max(0, pct(v)))}%"></div>`;
    rows.push(`<tr id="joint-${i + 1}"><td class="name">J${i + 1}</td>` +
      `<td><div class="bar${out ? ' out' : ''}" title="soft ${lim.soft[0]}…${lim.soft[1]}°, hard ${lo}…${hi}°">` +
      `<div class="soft" style="left:${pct(lim.soft[0])}%;width:${pct(lim.soft[1]) - pct(lim.soft[0])}%"></div>${mark}</div></td>` +
      `<td class="value">${fix(v, 2)}°</td></tr>`);
  }
  $('joints').innerHTML = rows.join('');
  $('joint-source').textContent = r.jointSource ? 'joints from the ' + r.jointSource : 'no joint data';
  const miss = $('joint-missing');
  miss.hidden = !r.jointMissing;
  miss.textContent = r.jointMissing || '';
  $('limit-source').textContent = 'bars: hard limits, green: soft limits (' + r.limitSource + ')';
  const names = ['X', 'Y', 'Z', 'RX', 'RY', 'RZ'];
  $('tcp').innerHTML = names.map((n, i) => `<tr><th>${n}</th><td>${r.tcp ? fix(r.tcp[i], 2) + (i < 3 ? ' mm' : '°') : '-'}</td></tr>`).join('');
  $('tcp-source').textContent = r.tcpSource ? 'from the ' + r.tcpSource : 'no pose data';
  $('tool-frame').textContent = r.tool === null ? '-' : `tool ${r.tool} · frame ${r.frame}`;
  drawView($('side'), r.chain, 0, 2);
  drawView($('top'), r.chain, 0, 1);
}

// One orthogonal projection of the link chain; h and v pick the base axes drawn right and up.
function drawView(canvas, chain, h, v) {
  const g = canvas.getContext('2d');
  const W = canvas.width, H = canvas.height;
  g.clearRect(0, 0, W, H);
  const scale = W / 2500; // 2.5 m across: the arm reaches about 1.1 m to every side
  const ox = W / 2, oy = v === 2 ? H - 40 : H / 2;
  g.strokeStyle = '#e1e4ea';
  g.lineWidth = 1;
  for (let m = -1400; m <= 1400; m += 200) {
    g.beginPath(); g.moveTo(ox + m * scale, 0); g.lineTo(ox + m * scale, H); g.stroke();
    g.beginPath(); g.moveTo(0, oy - m * scale); g.lineTo(W, oy - m * scale); g.stroke();
  }
  g.fillStyle = '#7a8194';
  g.font = '18px system-ui, sans-serif';
  g.fillText(v === 2 ? 'x →   z ↑   (grid 200 mm)' : 'x →   y ↑   (grid 200 mm)', 8, 22);
  g.fillStyle = '#596074';
  if (v === 2) g.fillRect(ox - 60 * scale, oy, 120 * scale, 12);
  else { g.beginPath(); g.arc(ox, oy, 60 * scale, 0, 2 * Math.PI); g.fill(); }
  if (!chain) return;
  const pts = chain.map((p) => [ox + p[h] * scale, oy - p[v] * scale]);
  g.strokeStyle = '#e07b00';
  g.lineWidth = 12;
  g.lineCap = 'round';
  g.lineJoin = 'round';
  g.beginPath();
  pts.forEach(([x, y], i) => (i ? g.lineTo(x, y) : g.moveTo(x, y)));
  g.stroke();
  g.fillStyle = '#1d2330';
  pts.forEach(([x, y]) => { g.beginPath(); g.arc(x, y, 6, 0, 2 * Math.PI); g.fill(); });
  const [fx, fy] = pts[pts.length - 1];
  g.fillStyle = '#2d6cdf';
  g.beginPath(); g.arc(fx, fy, 9, 0, 2 * Math.PI); g.fill();
}

function historyText(c) {
  const h = c.history.map((s) => s.state);
  return h.length ? h.join(' → ') : 'sent, no answer yet';
}

// Hover text: when the PLC sent the command and when each state arrived, to the millisecond.
function historyTimes(c) {
  const t = (ms) => clock(ms) + '.' + String(ms % 1000).padStart(3, '0');
  return ['sent ' + t(c.sent)].concat(c.history.map((s) => s.state + ' ' + t(s.at))).join('\n');
}

function codeCell(c) {
  if (!c.code.value) return '';
  return `${c.code.hex}${c.code.name ? ' ' + esc(c.code.name) : ''}`;
}

function commandRow(c, withTime) {
  const note = c.note ? ` <span class="note">(${esc(c.note)})</span>` : '';
  return `<tr data-name="${esc(c.name)}" data-state="${esc(c.state)}" data-cmd-id="${c.cmdId}">` +
    (withTime ? `<td>${clock(c.finished)}</td>` : '') +
    `<td>${c.cmdId}</td><td>${esc(c.name)}${c.updates ? ` <span class="dim">(${c.updates} updates)</span>` : ''}</td>` +
    `<td class="state state-${esc(c.state)}" title="${esc(historyTimes(c))}">${esc(historyText(c))}${note}</td>` +
    `<td>${c.severity.value ? esc(c.severity.name) : ''}</td><td>${codeCell(c)}</td></tr>`;
}

function renderCommands(k) {
  $('in-flight').tBodies[0].innerHTML = k.inFlight.map((c) => commandRow(c, false)).join('') ||
    '<tr><td colspan="5" class="dim">none</td></tr>';
  $('finished').tBodies[0].innerHTML = k.finished.map((c) => commandRow(c, true)).join('') ||
    '<tr><td colspan="6" class="dim">none yet</td></tr>';
  $('messages').tBodies[0].innerHTML = k.messages.map((m) =>
    `<tr><td>${clock(m.at)}</td><td>${m.msgId}</td><td>${m.type}</td><td>${esc(m.severity.name)}</td>` +
    `<td>${m.code.hex}${m.code.name ? ' ' + esc(m.code.name) : ''}</td><td>${esc(m.text)}</td></tr>`).join('') ||
    '<tr><td colspan="6" class="dim">none</td></tr>';
}

function apply(update) {
  model.link = update.link;
  model.robot = update.robot;
  renderLink(update.link);
  renderJoints(update.robot);
  if (update.commands) renderCommands(update.commands);
  const now = performance.now();
  arrivals.push(now);
  while (arrivals.length && arrivals[0] < now - 2000) arrivals.shift();
  $('rate').textContent = (arrivals.length / 2).toFixed(0) + ' updates/s';
}

function connect() {
  const stream = new EventSource('/events');
  stream.onopen = () => pill($('connection'), 'live', 'ok');
  stream.onmessage = (e) => apply(JSON.parse(e.data));
  stream.onerror = () => pill($('connection'), 'stream lost – retrying', 'bad');
}

connect();
