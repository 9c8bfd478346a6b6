"""The table of expectations, and the writing of the files."""

import json
import os

# Bytes of the known formats and of others, for files whose suffix promises something else.
GZIP_OF_NOTHING = bytes.fromhex("1f8b08000000000002ff03000000000000000000")


class Table:
    """Collects files with what `ov3d render` must answer.

    Each row of corpus.json:
      file     path relative to the corpus
      format   the format whose reader is meant, which groups the rows
      broken   whether something is wrong with the file
      exit     the exit code: 0 shown, 1 a card, 3 refused by its content or suffix, 4 cannot be read
      words    a piece of the one line on standard error; null when there must be no line
      notes    a piece of what --json says was repaired or left out; null when it must say nothing
      see      colours that the picture must show, the first ones above the later ones when there are two
      least    smallest share of the picture that the model covers; 0 when nothing need show
    """

    MARK = "corpus.json"

    def __init__(self, folder):
        self.folder = folder
        self.rows = []
        self.format = ""
        os.makedirs(folder, exist_ok=True)
        self._save()

    def side(self, path, data):
        """A file that a model names, or one beside it."""
        if isinstance(data, str):
            data = data.encode()
        full = os.path.join(self.folder, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "wb") as file:
            file.write(data)

    def good(self, path, data, see=(), least=0.01, words=None, notes=None):
        self._add(path, data, broken=False, exit=0, words=words, notes=notes, see=list(see), least=least)

    def repaired(self, path, data, words=None, notes=None, see=()):
        """Something is wrong with it, and it is shown all the same."""
        self._add(path, data, broken=True, exit=0, words=words, notes=notes, see=list(see), least=0.0005)

    def blank(self, path, data):
        """Sound as far as can be told, and without an area that could show."""
        self._add(path, data, broken=True, exit=0)

    def card(self, path, data, words):
        """Gets through the content check and cannot be shown."""
        self._add(path, data, broken=True, exit=1, words=words)

    def refused(self, path, data, words):
        """Does not get through the check of content and suffix."""
        self._add(path, data, broken=True, exit=3, words=words)

    def _add(self, path, data, **row):
        path = f"{self.format}/{path}"
        if data is not None:
            self.side(path, data)
        if any(other["file"] == path for other in self.rows):
            raise ValueError(f"{path} twice")
        base = {"file": path, "format": self.format, "words": None, "notes": None, "see": [], "least": 0.0}
        self.rows.append(base | row)

    def write(self):
        for name in {row["format"] for row in self.rows}:
            broken = sum(row["broken"] for row in self.rows if row["format"] == name)
            if broken < 20:
                raise ValueError(f"{name}: only {broken} broken files")
        self._save()

    def _save(self):
        with open(os.path.join(self.folder, Table.MARK), "w", encoding="utf-8") as file:
            json.dump(self.rows, file, indent=1, ensure_ascii=False)


def cut(data, share):
    """The first part of a file."""
    return data[: int(len(data) * share)]
