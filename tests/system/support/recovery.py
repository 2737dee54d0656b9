"""How long the product takes to be right again, in seconds; docs/operations.md tells the same figures.

They follow from the daemon's own periods and limits, not from what was measured.
"""

# One try of a request, and how many there are.
TRY, TRIES = 5, 3
# A pass of a slot whose card answers: a second's pause, and its exchanges.
PASS = 2
# The card is asked for all its links, and for what marks it, in every twelfth pass.
REFRESH = 12 * PASS
# How long a card needs to start; --reset-time of the simulator.
RESET = 3
# The daemon's socket is closed for so long by a datagram that is shorter than a header.
REBUILD = 1

# The try under way, a refresh that finds an ONU, the pass that provisions and reports it.
WIRE = TRY + REFRESH + 2 * PASS
# As before; the card starts and a try at it while it does is in vain, it is configured, and the passes
# that handle its OLT Ready, identify it and ask for its NVS.
RESTART = WIRE + RESET + TRY + 4 * PASS
# The card's address: the pass under way, then one to identify the card, one for its links, one to
# provision and report them; a try that is in vain.
ANNOUNCEMENT = TRY + 4 * PASS
# A change behind a card that answers: the pass under way and the one that reports it.
EVENT = 2 * PASS
# From one question whether the card is still configured to the next, at a card that answers.
RECHECK = REFRESH
# Every slot, after datagrams that were too short and came for less than three tries: the socket is built
# anew, then as after a bad wire. When they came for longer it is as after a restart.
SHORT_DATAGRAM = REBUILD + WIRE
# Another card, or one as the factory made it: its NVS is switched off and it starts once more.
CARD = RESTART + RESET + TRY + 3 * PASS

# What is shown in docs/operations.md, by the words that stand there.
STATED = {
    "an ONU changes behind a card that answers": EVENT,
    "the card is asked whether it is still configured": RECHECK,
    "`dbman slot announce N`": ANNOUNCEMENT,
    "a bad wire, or a card that was silent": WIRE,
    "datagrams shorter than a header, for less than three tries, all slots": SHORT_DATAGRAM,
    "a card that restarts, or was reset by the daemon": RESTART,
    "another card in the slot, or one with its NVS on": CARD,
}
