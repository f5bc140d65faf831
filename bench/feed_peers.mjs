// Parsers of feeds from npm on one file, in MB/s, in a process that lives long enough to be warm.
// Run where they are installed (npm install htmlparser2 rss-parser): node feed_peers.mjs FILE
import { readFileSync } from 'node:fs';
import { parseFeed } from 'htmlparser2';
import RssParser from 'rss-parser';

const bytes = readFileSync(process.argv[2]);
const rss = new RssParser();
const peers = {
  parseFeed: () => parseFeed(bytes.toString()),
  'rss-parser': () => rss.parseString(bytes.toString()),
};
for (const [name, parse] of Object.entries(peers)) {
  const times = [];
  for (let round = 0; round < 40; ++round) {
    const start = performance.now();
    const feed = await parse();
    times.push(performance.now() - start);
    if (!feed.items.length) throw new Error(name + ' found no items');
  }
  const median = times.slice(10).sort((a, b) => a - b)[15];
  console.log(name, (bytes.length / 1000 / median).toFixed(0), 'MB/s', median.toFixed(2), 'ms');
}
