// Calls the library from Node.js for Windows (x64) through koffi: stores a property, sends an event, and
// downloads a file with a progress bar.
//
//     node client.js DLL SETTINGS URL FOLDER [PROXY_HOST PROXY_PORT]
//
// Ends with exit code 1 if the download or the property file fails.
'use strict';

const koffi = require('koffi');
const {setTimeout: sleep} = require('node:timers/promises');

const [dll, settings, url, folder, proxyHost = '', proxyPort = '0'] = process.argv.slice(2);
if (!folder) {
    console.error('usage: node client.js DLL SETTINGS URL FOLDER [PROXY_HOST PROXY_PORT]');
    process.exit(2);
}

// str16 is wchar_t text (UTF-16), str is UTF-8. Results have 64 bits; narrower types read the same values.
const library = koffi.load(dll);
const readProperty = library.func(
    'uint32_t readProperty(str16, str, _Out_ uint16_t *buffer, uint32_t, bool)');
const writeProperty = library.func('uint32_t writeProperty(str16, str, str16, bool)');
const sendAppEvent = library.func('sendAppEvent', 'uint64_t', Array(10).fill('str'));
const startDownloadFile = library.func(
    'uint32_t startDownloadFile(str16, uint32_t, str16, str16, str16, str16)');
const stopDownloadFile = library.func('void stopDownloadFile()');
const getDownloadFileProgress = library.func('uint32_t getDownloadFileProgress(_Out_ uint32_t *percent)');
const isDownloadFileCompleted = library.func('uint32_t isDownloadFileCompleted(_Out_ bool *completed)');
const getDownloadFileErrors = library.func(
    'uint32_t getDownloadFileErrors(_Out_ uint32_t *error, _Out_ uint32_t *stage, _Out_ uint32_t *status)');

function readText(file, key) {
    const length = readProperty(file, key, null, 0, false);
    const buffer = Buffer.alloc((length + 2) * 2); // copied only if one character stays free
    readProperty(file, key, buffer, length + 2, false);
    return buffer.toString('utf16le', 0, length * 2);
}

function keepProperty() {
    const starts = Number(readText(settings, 'Starts')) + 1;
    for (const [key, value] of [['Starts', String(starts)], ['Title', 'Größer, schöner – 音楽']]) {
        const status = writeProperty(settings, key, value, false);
        if (status !== 0 || readText(settings, key) !== value)
            throw new Error(`${key} cannot be written to ${settings} (status ${status})`);
    }
    console.log(`start ${starts} of "${readText(settings, 'Title')}"`);
}

// sendAppEvent can block for seconds, so it runs on a worker thread of koffi. Its result is always 0; the log
// shows at level 7 whether the event arrived.
function sendEvent() {
    return new Promise((resolve, reject) => {
        sendAppEvent.async('node_example', 'client.js', 'settings', settings, '2', '4.1', '', '', 'node-guid', '17',
                           error => error ? reject(error) : resolve());
    });
}

function drawBar(percent) {
    const filled = Math.round(Math.min(percent, 100) / 4);
    process.stdout.write(`\r[${'#'.repeat(filled)}${'.'.repeat(25 - filled)}] ${String(percent).padStart(3)} %`);
}

async function download() {
    const refused = startDownloadFile(proxyHost, Number(proxyPort), '', '', url, folder);
    if (refused !== 0)
        throw new Error(`the download cannot be started (Windows error ${refused})`);
    const completed = [false], percent = [0], error = [0], stage = [0], status = [0];
    do {
        await sleep(100);
        isDownloadFileCompleted(completed);
        getDownloadFileProgress(percent);
        drawBar(percent[0]);
    } while (!completed[0]);
    process.stdout.write('\n');
    getDownloadFileErrors(error, stage, status);
    stopDownloadFile();
    if (stage[0] !== 0 || status[0] !== 200)
        throw new Error(`${url}: error ${error[0]} in stage ${stage[0]}, HTTP status ${status[0]}`);
}

async function main() {
    keepProperty();
    await sendEvent();
    await download();
}

main().catch(error => {
    console.error(error.message);
    process.exitCode = 1;
});
