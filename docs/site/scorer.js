// A name stands before the pages that mention it; the other scores are those of Sphinx.
var Scorer = {
  objNameMatch: 100,
  objPartialMatch: 6,
  objPrio: {0: 15, 1: 5, 2: -5},
  objPrioDefault: 0,
  title: 15,
  partialTitle: 7,
  term: 5,
  partialTerm: 2
};
