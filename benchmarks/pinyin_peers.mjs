// What npm's @napi-rs/pinyin and pinyin-pro take for all names of a file:
//   node pinyin_peers.mjs FOLDER NAMES
// FOLDER has both in its node_modules; NAMES is UTF-8 with a name a line. Prints for each way its
// title and the nanoseconds of each round, parted by tabs.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const [folder, file] = process.argv.slice(2);
const require = createRequire(folder + "/");
const { pinyin, pinyinString, PINYIN_STYLE } = require("@napi-rs/pinyin");
const pro = require("pinyin-pro");

const style = PINYIN_STYLE.Plain;
const toneType = "none";
const ways = {
  "@napi-rs/pinyin": (name) => pinyin(name, { style }).join(" "),
  "@napi-rs/pinyin, one string": (name) => pinyinString(name, { style }),
  "@napi-rs/pinyin, all readings": (name) => pinyin(name, { style, heteronym: true }),
  "pinyin-pro": (name) => pro.pinyin(name, { toneType }),
  "pinyin-pro, all readings": (name) => pro.polyphonic(name, { toneType }),
};

const names = readFileSync(file, "utf8").trimEnd().split("\n");
let sink = 0;

function round(convert) {
  const begin = process.hrtime.bigint();
  for (const name of names) sink += convert(name).length;
  return Number(process.hrtime.bigint() - begin);
}

for (const [title, convert] of Object.entries(ways)) {
  round(convert); // warm-up
  const rounds = Array.from({ length: 11 }, () => round(convert));
  console.log([title, ...rounds].join("\t"));
}
if (sink === 0) process.exit(1);
