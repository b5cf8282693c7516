#!/usr/bin/python3
"""Tests tools/log-viewer.html in a real Chromium without a window.

viewer_test.py [--picture FILE.png] [LOG...]: each LOG must open as well.
"""

import argparse
import pathlib
import re
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

PAGE = pathlib.Path(__file__).resolve().parent.parent / 'log-viewer.html'
SIZE_OF_LARGE_LOG = 10 * 1024 * 1024
MOST_MILLISECONDS = 2000

logs = []  # of the command line


def start_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = '/usr/lib/chromium/chromium'  # its launcher wants files in /etc
    for argument in ('--headless=new', '--no-sandbox', '--disable-dev-shm-usage'):
        options.add_argument(argument)
    options.set_capability('goog:loggingPrefs', {'browser': 'ALL'})
    return webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)


class Page:
    """The page in a browser, and what a test asks of it."""

    def __init__(self):
        self.browser = start_browser()
        self.set_size(1280, 800)
        self.folder = tempfile.TemporaryDirectory()

    def close(self):
        self.browser.quit()
        self.folder.cleanup()

    def set_size(self, width, height):
        """Of the page, without the frame that even a hidden window has."""
        self.browser.set_window_size(width, height)
        inner = self.run('return [innerWidth, innerHeight]')
        self.browser.set_window_size(2 * width - inner[0], 2 * height - inner[1])

    def load(self):
        self.browser.get(PAGE.as_uri())

    def run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def open_file(self, path):
        self.find('#file').send_keys(str(path))
        self.wait_until_opened()

    def wait_until_opened(self):
        """And forgets it, for the next one."""
        WebDriverWait(self.browser, 30).until(lambda _: self.milliseconds())
        self.opened_in = self.milliseconds()
        self.run("document.getElementById('opened').removeAttribute('data-ms')")

    def milliseconds(self):
        return self.find('#opened').get_attribute('data-ms')

    def open(self, text):
        """text: str, in the bytes of Windows-1252, or bytes."""
        path = pathlib.Path(self.folder.name) / 'case.log'
        path.write_bytes(text if isinstance(text, bytes) else text.encode('cp1252'))
        self.open_file(path)

    def do(self, command):
        self.find(f'[data-do={command}]').click()

    def press(self, *keys):
        self.find('#lines').send_keys(*keys)

    def lines(self):
        """The numbers of the lines shown."""
        return self.run("return [...document.querySelectorAll('#lines .row')].map(row => Number(row.dataset.line))"
                        '.sort((a, b) => a - b)')

    def part(self, line, selector):
        """The text of a part of a line that is shown; None without the part."""
        return self.run('return document.querySelector(`#lines [data-line="${arguments[0]}"] ${arguments[1]}`)'
                        '?.textContent ?? null', line, selector)

    def chips(self, line):
        return self.run('return [...document.querySelectorAll(`#lines [data-line="${arguments[0]}"] .chip`)]'
                        '.map(chip => chip.textContent)', line)

    def current(self):
        return self.run("return Number(document.querySelector('[aria-selected=true]')?.dataset.line ?? 0)")

    def text(self, element_id):
        return self.run('return document.getElementById(arguments[0]).textContent', element_id)

    def counts(self):
        return tuple(int(self.text(each).replace(',', '')) for each in ('errors', 'warnings'))

    def expected(self):
        return int(self.text('expected').replace(',', ''))

    def console(self):
        return [entry['message'] for entry in self.browser.get_log('browser')]


def log_of(columns, lines):
    """Puts columns in front of lines; %d in them is the line's severity."""
    return ''.join(f'{columns.replace("%d", severity)}{message}\r\n' for severity, message in lines)


CALL = (
    ('1', '{ TARVO_CopyFileEx'),
    ('1', '   Called with [a].'),
    ('2', '   File is in use.'),
    ('1', '   { TARVO_GetFileVersion'),
    ('3', '      Function TARVO_GetFileVersion error: [2] (File not found. )'),
    ('1', '   } TARVO_GetFileVersion'),
    ('3', '   Function TARVO_CopyFileEx error: [32] (In use. )'),
    ('1', '} TARVO_CopyFileEx'),
)


def call_of(name, *inside, result='OK.'):
    """A call's lines; result is how it ended: OK. or error: [CODE] (TEXT)."""
    severity = '1' if result == 'OK.' else '3'
    return (('1', f'{{ {name}'), *((severity_, f'   {line}') for severity_, line in inside),
            (severity, f'   Function {name} {result}'), ('1', f'}} {name}'))


ASKED = call_of('TARVO_ReadIniFileSection', result='error: [234] (More data. )')
READ = call_of('TARVO_ReadIniFileSection')
CLEAN_UNINSTALL = (
    *call_of('TARVO_OpenRollBackLog'),
    *call_of('TARVO_PerformUnInstall', ('1', '{ GetRollbackSection'), *ASKED, *READ, ('1', '} GetRollbackSection')),
    *call_of('TARVO_FindSourceInPFOs', result='error: [2] (File not found. )'),
    *call_of('TARVO_DeleteEventSource', result='error: [2] (File not found. )'),
    *call_of('TARVO_RemoveShortCut', result='error: [2] (Failed to delete shortcut file)'),
)
FAILED_SETUP = (
    *call_of('TARVO_CopyFileEx', ('3', 'Creating temporary SourceCopy failed.'), result='error: [2] (File not found. )'),
    *call_of('TARVO_FindSourceInPFOs', result='error: [5] (Access denied. )'),
    *call_of('TARVO_DeleteEventSource', result='error: [5] (Access denied. )'),
    *call_of('TARVO_OpenRollBackLog', result='error: [2] (File not found. )'),
    *ASKED, *call_of('TARVO_CloseRollBackLog'), *ASKED,
)
BANNER = '*' * 30 + '\r\n'
DATE = '26/11/25 03:57:56\t'


class ViewerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.page = Page()
        cls.addClassCleanup(cls.page.close)

    def setUp(self):
        self.page.load()

    def tearDown(self):
        self.assertEqual(self.page.console(), [])

    def test_finds_the_columns(self):
        cases = (  # columns, the parts that show them
            ('%d\t', {}),
            (f'%d\t{DATE}', {'.time': '03:57:56'}),
            ('%d\t 6/01/05 03:07:56\t', {'.time': '03:07:56'}),
            ('%d\t1A4\t', {'.thread': '1A4'}),
            ('%d\t0012ABCD\t', {'.ticks': '0012ABCD'}),
            ('%d\tF012ABCD\t', {'.ticks': 'F012ABCD'}),
            (f'%d\tFC\t{DATE}', {'.thread': 'FC', '.time': '03:57:56'}),
            (f'%d\t{DATE}0012ABCD\t', {'.time': '03:57:56', '.ticks': '0012ABCD'}),
            ('%d\tFC\t0012ABCD\t', {'.thread': 'FC', '.ticks': '0012ABCD'}),
            (f'%d\tFC\t{DATE}0012ABCD\t', {'.thread': 'FC', '.time': '03:57:56', '.ticks': '0012ABCD'}),
            (f'FC\t{DATE}', {'.thread': 'FC', '.time': '03:57:56'}),
            (DATE, {'.time': '03:57:56'}),
            ('', {}),
        )
        for columns, parts in cases:
            with self.subTest(columns=columns):
                self.page.open(log_of(columns, CALL))
                self.page.do('unfold-all')
                self.assertEqual(self.page.counts(), (2, 1 if '%d' in columns else 0))
                self.assertEqual(self.page.part(5, '.text'), CALL[4][1].strip())
                for part in ('.time', '.thread', '.ticks'):
                    self.assertEqual(self.page.part(5, part), parts.get(part))

    def test_runs_have_columns_of_their_own(self):
        self.page.open(
            f'0\t{DATE}\r\n{BANNER}0\t{DATE}TARVO.DLL version 10.0.176\r\n' + log_of(f'%d\t{DATE}', CALL) +
            f'ts tid \r\n0\t1A4\t\r\n{BANNER}0\t1A4\tTARVO.DLL version 10.0.176\r\n' + log_of('%d\t1A4\t', CALL) +
            f'\r\n{BANNER}TARVO.DLL version 10.0.176\r\n' + log_of('', CALL))
        self.page.do('unfold-all')
        self.assertEqual(self.page.counts(), (6, 2))
        self.assertEqual([self.page.part(line, '.block') for line in (1, 12, 24)],
                         ['Run 1 of 3, 26/11/25 03:57:56', 'Run 2 of 3', 'Run 3 of 3'])
        self.assertEqual([self.page.part(line, part) for line, part in
                          ((4, '.time'), (4, '.thread'), (16, '.time'), (16, '.thread'), (27, '.time'))],
                         ['03:57:56', '', '', '1A4', ''])
        self.assertEqual(self.page.part(27, '.block'), '{ TARVO_CopyFileEx')
        self.page.find('[data-line="12"] .fold').click()
        self.assertNotIn(16, self.page.lines())
        self.assertIn(24, self.page.lines())

    def test_columns_may_change_within_a_run(self):
        self.page.open(log_of('%d\t', CALL) + log_of(f'%d\tFC\t{DATE}', CALL))
        self.page.do('unfold-all')
        self.assertEqual((self.page.part(1, '.thread'), self.page.part(13, '.thread')), ('', 'FC'))
        self.assertEqual(self.page.counts(), (4, 2))

    def test_a_message_of_several_lines_is_no_block(self):
        self.page.open(f'1\t{DATE}{{ A\r\n1\t{DATE}   Value=[one\r\n{{ two\r\n}} A\r\nADD\t3\tthree\r\n'
                       f'Function A error: [1] (four)]\r\n1\t{DATE}}} A\r\n')
        self.page.do('unfold-all')
        self.assertEqual(self.page.counts(), (0, 0))
        self.assertEqual([self.page.chips(line) for line in range(1, 8)], [[]] * 7)
        self.assertEqual(self.page.part(5, '.text'), 'ADD\t3\tthree')

    def test_lines_glued_to_cut_ones_come_apart(self):
        title = 'IsPathExist(C:\\' + 'x' * 240
        self.page.open(f'1\t{{ {title}1\t   Returning 0.\r\n1\t}} {title}2\tText {"y" * 1018}3\tEnd\r\n')
        self.page.do('unfold-all')
        self.assertEqual([self.page.part(line, '.number') for line in range(1, 6)], ['1', '1', '2', '2', '2'])
        self.assertEqual(self.page.part(2, '.text'), 'Returning 0.')
        self.assertEqual(self.page.counts(), (1, 1))
        self.assertEqual((self.page.chips(1), self.page.chips(3)), ([], []))

    def test_blocks_fold(self):
        self.page.open(log_of('%d\t', CALL))
        self.assertEqual(self.page.lines(), [1])
        self.assertEqual(self.page.chips(1), ['[32]', '1 error inside', '1 warning inside'])
        self.assertEqual(self.page.part(1, '.preview'), 'Called with [a].')
        for act, shown in (
                (lambda: self.page.find('[data-line="1"] .fold').click(), [1, 2, 3, 4, 7, 8]),
                (lambda: self.page.find('[data-line="4"] .fold').click(), list(range(1, 9))),
                (lambda: self.page.find('[data-line="4"] .fold').click(), [1, 2, 3, 4, 7, 8]),
                (lambda: self.page.press(Keys.ARROW_RIGHT), list(range(1, 9))),
                (lambda: self.page.press(Keys.ARROW_DOWN, Keys.ARROW_LEFT, Keys.ENTER), [1, 2, 3, 4, 7, 8]),
                (lambda: self.page.press(Keys.ARROW_UP, Keys.ARROW_LEFT, Keys.ARROW_LEFT), [1]),
                (lambda: self.page.press(Keys.SPACE), [1, 2, 3, 4, 7, 8]),
                (lambda: self.page.do('unfold-all'), list(range(1, 9))),
                (lambda: self.page.do('fold-all'), [1])):
            act()
            self.assertEqual(self.page.lines(), shown)

    def test_marks_what_has_no_counterpart(self):
        cases = (  # lines, chips of those that have some
            (('{ A', '   { B', '      text'), {1: ['never closed'], 2: ['never closed']}),
            (('{ A', '   { B', '} A', '{ C', '} C'), {2: ['never closed']}),
            (('text', '   } B', '} A', '{ C', '} C'), {2: ['never opened'], 3: ['never opened']}),
            (('{ A', '   { A', '} A'), {2: ['never closed']}),
            (('{ A', '{ A', '} A', '} A'), {}),
        )
        for lines, chips in cases:
            with self.subTest(lines=lines):
                self.page.open(log_of('%d\t', (('1', line) for line in lines)))
                self.page.do('unfold-all')
                self.assertEqual({line: self.page.chips(line) for line in self.page.lines() if self.page.chips(line)},
                                 chips)

    def test_a_new_run_ends_the_blocks_of_a_killed_one(self):
        self.page.open(f'0\t\r\n{BANNER}1\t{{ A\r\n0\t\r\n{BANNER}1\t{{ A\r\n1\t}} A\r\n')
        self.assertIn('ends inside a call', self.page.chips(1))
        self.assertNotIn('ends inside a call', self.page.chips(4))
        self.assertEqual((self.page.chips(3), self.page.chips(6)), (['never closed'], []))
        self.page.open(f'0\t\r\n{BANNER}1\t{{ A\r\n1\t}} stray\r\n')
        self.assertIn('ends inside a call', self.page.chips(1))

    def test_steps_through_errors_and_warnings(self):
        self.page.open(log_of('%d\t', (('1', '{ B'), ('1', '} B')) + 2 * CALL))
        for act, line in (
                (lambda: self.page.do('next-error'), 7),
                (lambda: self.page.press('n'), 9),
                (lambda: self.page.press('n', 'n'), 17),
                (lambda: self.page.press('n'), 7),
                (lambda: self.page.press('p'), 17),
                (lambda: self.page.do('previous-error'), 15),
                (lambda: self.page.press('N'), 5),
                (lambda: self.page.press('P'), 13),
                (lambda: self.page.do('next-warning'), 5),
                (lambda: self.page.do('previous-warning'), 13)):
            act()
            self.assertEqual(self.page.current(), line)
        self.assertIn('File is in use.', self.page.text('detail'))
        self.assertNotIn(2, self.page.lines(), 'a jump unfolds no other block')

    def test_errors_that_are_answers_count_apart(self):
        cases = (  # what happened, errors, expected
            (CLEAN_UNINSTALL, 0, 4),
            (FAILED_SETUP, 7, 0),
            (FAILED_SETUP + CLEAN_UNINSTALL, 7, 4),
        )
        for columns in ('%d\t', DATE):
            for lines, errors, expected in cases:
                with self.subTest(columns=columns, expected=expected, errors=errors):
                    errors -= columns == DATE and errors > 0  # without severities a text alone is no error
                    self.page.open(log_of(columns, lines))
                    self.assertEqual((self.page.counts()[0], self.page.expected()), (errors, expected))
                    self.assertEqual(self.page.find('#show-expected').is_enabled(), expected > 0)
                    if expected:
                        self.page.find('#show-expected').click()
                        self.assertEqual((self.page.counts()[0], self.page.expected()), (errors + expected, expected))

    def test_next_error_passes_over_expected_ones(self):
        self.page.open(log_of('%d\t', CLEAN_UNINSTALL + FAILED_SETUP[:5]))
        failures = "return [...document.querySelectorAll('#exports .failures')].reduce((sum, each) => sum + +each.textContent, 0)"
        first = len(CLEAN_UNINSTALL) + 2
        for press, line in (('n', first), ('n', first + 1), ('n', first)):
            self.page.press(press)
            self.assertEqual(self.page.current(), line)
        self.assertEqual(self.page.run(failures), 1)
        self.page.find('#show-expected').click()
        self.assertEqual(self.page.run(failures), 5)
        self.page.press('p')
        self.assertEqual(self.page.current(), len(CLEAN_UNINSTALL) - 1)

    def test_filters_by_export(self):
        self.page.open(log_of('%d\t', CALL + (('1', '{ TARVO_GetFileVersion'), ('1', '   Function TARVO_GetFileVersion OK.'),
                                              ('1', '} TARVO_GetFileVersion'), ('1', 'text'),
                                              ('1', '{ TARVO_GetLastErrorMessage(0x1,80)'),
                                              ('1', '} TARVO_GetLastErrorMessage(0x1,80)'))))
        listed = self.page.run("return [...document.querySelectorAll('#exports button')].slice(1).map(button =>"
                               "[button.dataset.name, ...[...button.children].slice(1).map(each => each.textContent)])")
        self.assertEqual(listed, [['TARVO_CopyFileEx', '1', '1'], ['TARVO_GetFileVersion', '2', '1'],
                                  ['TARVO_GetLastErrorMessage', '1', '0']])
        self.page.find('[data-name=TARVO_GetFileVersion]').click()
        self.assertEqual(self.page.lines(), [4, 9])
        self.page.do('unfold-all')
        self.assertEqual(self.page.lines(), [4, 5, 6, 9, 10, 11])
        self.page.press('n', 'n')
        self.assertEqual(self.page.current(), 5, 'errors of other calls are passed over')
        self.page.find('#failed-only').click()
        self.assertEqual(self.page.lines(), [4, 5, 6])
        self.page.find('[data-name=TARVO_CopyFileEx]').click()
        self.assertEqual(self.page.lines(), list(range(1, 9)))
        self.page.find('[data-name=All]').click()
        self.assertEqual(self.page.text('status'), '1 call shown', 'one inside another is not shown twice')
        self.page.find('#failed-only').click()
        self.assertEqual(self.page.lines(), list(range(1, 15)))

    def test_tells_the_time_of_a_block(self):
        cases = (  # columns of both lines, what it took
            (DATE, '26/11/25 03:57:56\t', '<1 s'),
            ('26/11/25 23:59:58\t', '26/11/26 00:01:03\t', '1 min 5 s'),
            (' 9/12/31 23:59:59\t', '10/01/01 00:00:01\t', '2 s'),
            (DATE, '26/11/25 02:57:56\t', ''),
            ('00001000\t', '00001010\t', '16 ms'),
            ('FFFFFFF0\t', '000004C4\t', '1.24 s'),
            (f'{DATE}00001000\t', '26/11/25 03:57:57\t00001010\t', '16 ms'),
            ('', '', ''),
        )
        for first, last, took in cases:
            with self.subTest(first=first, last=last):
                self.page.open(f'1\t{first}{{ A\r\n1\t{last}}} A\r\n')
                self.assertEqual(self.page.part(1, '.took'), took)

    def test_searches(self):
        self.page.open(log_of('%d\t', CALL + (('1', 'In use? (yes)'),)))
        self.page.find('#search').send_keys('in use')
        WebDriverWait(self.page.browser, 5).until(lambda _: self.page.text('status') == '3 lines found')
        for shift, line in ((False, 3), (False, 7), (False, 9), (True, 7)):
            self.page.find('#search').send_keys(*([Keys.SHIFT] if shift else []), Keys.ENTER)
            self.assertEqual((self.page.current(), self.page.part(line, 'mark')), (line, 'In use' if line > 3 else 'in use'))
        self.page.find('#search').clear()
        self.page.find('#search').send_keys('? (')
        WebDriverWait(self.page.browser, 5).until(lambda _: self.page.text('status') == '1 line found')

    def test_a_log_is_text_and_nothing_else(self):
        bait = '<img src=x onerror="document.title=1"><script>document.title=2</script>&amp;'
        self.page.open(log_of('%d\t', (('1', f'{{ TARVO_{bait}'), ('1', f'   {bait}'), ('3', bait),
                                       ('1', f'}} TARVO_{bait}'))))
        self.page.do('unfold-all')
        self.page.press('n')
        self.assertEqual(self.page.part(2, '.text'), bait)
        self.assertIn(bait, self.page.text('detail'))
        self.assertEqual(self.page.run("return document.querySelectorAll('img, script').length"), 1, 'its own script')
        self.assertEqual(self.page.browser.title, 'case.log')

    def test_reads_both_encodings(self):
        for data in ('Größe – €'.encode('cp1252'), 'Größe – €'.encode(), b'\xef\xbb\xbf' + 'Größe – €'.encode()):
            with self.subTest(data=data):
                self.page.open(data)
                self.assertEqual(self.page.part(1, '.text'), 'Größe – €')

    def test_shows_whatever_it_is_given(self):
        cases = ((b'', []), (b'\n', ['']), (b'text', ['text']), (b'\0\x81\xff\n\t\n', ['\0\x81\xff', '\t']),
                 (b'1\t{ \r\n1\t}\r\n', ['{ ', '}']), (b'Function A error: [1] (B)\n\n', ['Function A error: [1] (B)', '']))
        for data, texts in cases:
            with self.subTest(data=data):
                self.page.open(data)
                self.assertEqual([self.page.part(line, '.text') for line in self.page.lines()], texts)

    def test_takes_a_dropped_log(self):
        self.page.run('''
            const transfer = new DataTransfer();
            transfer.items.add(new File(['3\\tdropped'], 'dropped.log'));
            document.body.dispatchEvent(new DragEvent('drop', {bubbles: true, cancelable: true, dataTransfer: transfer}));
        ''')
        self.page.wait_until_opened()
        self.assertEqual((self.page.text('name'), self.page.counts()), ('dropped.log', (1, 0)))

    def test_opens_a_large_log_at_once(self):
        text = large_log()
        self.page.open(text)
        self.assertLess(int(self.page.opened_in), MOST_MILLISECONDS)
        lines = text.count(b'\n')
        print(f'{len(text):,} bytes, {lines:,} lines: {self.page.opened_in} ms', file=sys.stderr)
        self.assertEqual(self.page.counts(), counts_of(text))
        self.page.do('unfold-all')
        self.page.press(Keys.END)
        self.assertEqual(self.page.current(), lines)
        self.assertLess(len(self.page.lines()), 100, 'lines out of sight have no elements')
        self.page.press('p', Keys.HOME)
        self.assertEqual((self.page.current(), self.page.lines()[0]), (1, 1))

    def test_scrolls_beyond_the_height_of_an_element(self):
        lines = 1_500_000
        self.page.open(b'x\n' * lines)
        self.page.run("document.getElementById('lines').scrollTop = 1e9")
        WebDriverWait(self.page.browser, 5).until(lambda _: self.page.lines()[-1] == lines)
        self.page.run("document.getElementById('lines').scrollTop = 0")
        WebDriverWait(self.page.browser, 5).until(lambda _: self.page.lines()[0] == 1)
        for key, line in ((Keys.END, lines), (Keys.ARROW_UP, lines - 1), (Keys.HOME, 1), (Keys.ARROW_DOWN, 2)):
            self.page.press(key)
            self.assertEqual(self.page.current(), line)
        self.page.browser.execute_async_script('''
            const done = arguments[0], view = document.getElementById('lines');
            const turn = left => {
                if (left === 0)
                    return done();
                view.dispatchEvent(new WheelEvent('wheel', {deltaY: 5, cancelable: true}));
                requestAnimationFrame(() => requestAnimationFrame(() => turn(left - 1)));
            };
            turn(20);
        ''')
        self.assertEqual(self.page.lines()[0], 6, 'the wheel moves by its own pixels, small steps included')

    def test_fits_a_narrow_window(self):
        self.page.set_size(900, 700)
        self.addCleanup(self.page.set_size, 1280, 800)
        self.page.open(log_of(f'%d\tFC\t{DATE}0012ABCD\t', CALL))
        self.assertLessEqual(self.page.run('return document.documentElement.scrollWidth'), 900)
        self.assertGreater(self.page.find('#lines .text').size['width'], 200)

    def test_every_control_has_a_name(self):
        self.page.open(log_of('%d\t', CALL))
        for control in self.page.browser.find_elements(By.CSS_SELECTOR, 'button, input, [role=tree]'):
            self.assertRegex(control.accessible_name, r'\w', control.get_attribute('outerHTML'))

    def test_opens_logs_of_real_setups(self):
        for path in logs:
            with self.subTest(path=path):
                self.page.open_file(path)
                errors, warnings = self.page.counts()
                self.assertEqual((errors + self.page.expected(), warnings), counts_of(path.read_bytes()))
                self.page.do('unfold-all')
                self.assertEqual(self.page.console(), [])


def counts_of(data):
    """Errors and warnings of a log with a severity column."""
    return tuple(len(re.findall(rb'^%d\t' % severity, data, re.MULTILINE)) for severity in (3, 2))


def large_log():
    banner = f'0\t{DATE}\r\n{BANNER}0\t{DATE}TARVO.DLL version 10.0.176\r\n'.encode()
    call = log_of(f'%d\t{DATE}', CALL).encode()
    good = log_of(f'%d\t{DATE}', (('1', line) for line in (
        '{ TARVO_AddFileToUninstallLog', '   Called with [C:\\Program Files (x86)\\Harbour\\Lantern\\lantern.exe].',
        '   { IsPathExist(C:\\Program Files (x86)\\Harbour\\Lantern,1)', '      Returning 1.',
        '   } IsPathExist(C:\\Program Files (x86)\\Harbour\\Lantern,1)',
        '   Function TARVO_AddFileToUninstallLog OK.', '} TARVO_AddFileToUninstallLog'))).encode()
    run = banner + (call + 20 * good) * 20
    return run * (SIZE_OF_LARGE_LOG // len(run) + 1)


def take_picture(log, picture):
    page = Page()
    try:
        page.load()
        page.open_file(log)
        page.press('n')
        page.browser.save_screenshot(str(picture))
    finally:
        page.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--picture', type=pathlib.Path, metavar='FILE.png', help='save how the first LOG looks; no tests')
    parser.add_argument('logs', nargs='*', type=lambda name: pathlib.Path(name).resolve(), metavar='LOG')
    parser.add_argument('-k', dest='pattern', action='append', help='run only the tests whose names contain this')
    arguments = parser.parse_args()
    if arguments.picture:
        if not arguments.logs:
            parser.error('a picture needs a LOG')
        return take_picture(arguments.logs[0], arguments.picture)
    logs.extend(arguments.logs)
    selected = [option for pattern in arguments.pattern or () for option in ('-k', pattern)]
    unittest.main(argv=[sys.argv[0], *selected], verbosity=2)


if __name__ == '__main__':
    main()
