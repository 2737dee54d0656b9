"""One case a file: NAME, ANSWERS (the question in a few words), IN_QUICK, and run(bench), which gives its
rows."""

from . import (box, bring_up, codec, exchange, instructions, peer, reports, simulator)

ALL = {case.NAME: case for case in
       (exchange, bring_up, reports, codec, peer, box, instructions, simulator)}
