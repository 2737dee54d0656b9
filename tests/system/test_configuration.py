"""The one configuration of every card: all of it, in order, byte for byte."""

from support.card import (DISABLE_OLT, ENABLE_OLT, GET_OAM_SETS, SET_OAM_SETS, response)

MAC = "000db6000003"

# Request id and data, in sending order.
CONFIGURATION = [
    (9, ""),
    (436, "08" + MAC + "010500000db601" "02050011111101" "030500aaaaaa00" "04050000a1f500"),
    (412, MAC + "0000" "00000000" "0000" "00"),
    (371, MAC + "0000" "00000000" "0000" "00"),
    (412, MAC + "0001" "00000000" "0000" "00"),
    (371, MAC + "0001" "00000000" "0000" "00"),
    (393, MAC + "0000" "00" "0000"),
    (393, MAC + "0001" "00" "0000"),
    (294, MAC + "0000"),
    (294, MAC + "0001"),
    (355, MAC + "0000" "0005"),
    (355, MAC + "0001" "0005"),
    (1, "011401"),
    (80, "00050000" "00" "18" "01" "01" "00" "01"),
    (359, MAC + "0000" "0000" "1a5e" "0c35" "0000"),
    (359, MAC + "0001" "0000" "1a5e" "0c35" "0000"),
    (544, MAC + "0000" "0010"),
    (544, MAC + "0001" "0010"),
    (376, "2000" "0001" "0001" "0020" "0002" "0001" "0020"),
    (376, "2002" "0001" "0001" "0020" "0003" "0001" "0020"),
    (376, "2004" "0000" "0001" "0020" "0003" "0001" "0020"),
    (376, "2006" "0000" "0001" "0020" "0002" "0001" "0020"),
    (376, "2008" "0000" "0001" "0020" "0000" "0001" "0020"),
    (376, "200a" "0000" "0001" "0020" "0002" "0001" "0020"),
    (376, "200c" "0001" "0001" "0020" "0001" "0001" "0020"),
    (376, "200e" "0001" "0001" "0020" "0003" "0001" "0020"),
    (335, "1000" "000f4240" "0000"),
    (549, "0402" "0000" "101010" "02" "0000" "02" "0002" "0006" "02" "2004" "2006" "0000"
          "02" "0004" "0008" "02" "2000" "2002"),
    *[(403, "0402" "0001" "00" "00" "01" + x + "01" + y +
       "01" "0a" "03" "03" "02" "0000" "09" "04" "0000" "0000" "0b" "04" "0000" "0000"
       "01" "01" "00" "00" "0000000000000000" "07" "00")
      for x, y in (("0000", "0000"), ("0001", "0000"), ("0000", "0001"), ("0001", "0001"))],
    (337, "0402" "00000003" "00000003" "00000000" "000f4240" "00002710"
          "03e8" "0000" "0002" "0258" "0244" "0037" "0002" "0320" "0002" "006e" "000a" "0000"
          "03e8" "0000" "c0a86502" "fe800000000000000000000000000001"),
    (349, "0402" "00" "06" "00" "06" "00" "06" "06" "07" "06" "06" "06" "06" "06" "06" "00"),
    (118, ""),
    (68, ""),
    (8, ""),
]


def configuration(card):
    """What was sent from Disable OLT to Enable OLT."""
    sent = [(request.id, request.data.hex()) for request in list(card.requests)]
    ids = [request_id for request_id, _ in sent]
    return sent[ids.index(DISABLE_OLT):ids.index(ENABLE_OLT) + 1]


def test_a_fresh_card_is_put_into_the_one_configuration_byte_for_byte(card):
    inserted = card(3)
    inserted.wait_for(ENABLE_OLT)
    assert configuration(inserted) == CONFIGURATION


def test_links_that_the_card_knows_are_cleared_during_the_configuration(card, peer):
    mac = bytes.fromhex("000db6030007")
    from support.card import Card
    inserted = Card(3)
    inserted.known = inserted.discovered = [mac]
    peer.address(3)
    inserted.wait_for(ENABLE_OLT)
    assert configuration(inserted)[-4:] == [(118, ""), (68, ""), (119, mac.hex()), (8, "")]
    assert peer.messages("/onu/new", 3) == []


def test_a_step_that_fails_is_printed_and_the_sequence_goes_on(card, daemon):
    inserted = card(3)
    for request_id in (412, 376, 549):
        inserted.rules[request_id] = lambda asked, request: [response(request, result=3)]
    inserted.wait_for(ENABLE_OLT)
    assert configuration(inserted) == CONFIGURATION
    # two of 412, eight of 376, one of 549
    assert daemon.count("PARAM_OUT_OF_RANGE") == 11
    assert len(inserted.of(SET_OAM_SETS)) == 1


def test_a_card_configured_before_is_not_configured_again(card):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_OAM_SETS, 2)
    assert not {9, 436, 412, 376, 549, 8} & set(inserted.ids())


def test_a_card_that_loses_its_marker_is_configured_again(card):
    inserted = card(3, marked=True)
    inserted.wait_for(GET_OAM_SETS)
    inserted.marked = False
    inserted.wait_for(ENABLE_OLT)
    assert configuration(inserted) == CONFIGURATION
