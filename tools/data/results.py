"""The result tables of the program, and the words in them."""

TRUSTED = ("Strong", "Generous")
ROTAMERS = {"Q_Gm": "g-", "Q_Gp": "g+", "Q_T": "t"}


def read_rows(path):
    """Rows of a result table as dictionaries by column name, by residue number."""
    rows, names = {}, None
    with open(path) as table:
        for line in table:
            words = line.split()
            if line.startswith("VARS"):
                names = words[1:]
            elif (
                names
                and words
                and words[0] not in ("FORMAT", "REMARK", "DATA")
                and len(words) == len(names)
            ):
                row = dict(zip(names, words))
                rows[int(row["RESID"])] = row
    return rows


def difference(a, b):
    return (a - b + 180.0) % 360.0 - 180.0


def rotamer(chi1, letter):
    """The rotamer word in the convention of the chi1 table, where valine is turned."""
    if letter == "V":
        chi1 = difference(chi1, 120.0)
    if -120.0 < chi1 <= 0.0:
        return "g-"
    return "g+" if 0.0 < chi1 <= 120.0 else "t"
