DELETE FROM tblCatch WHERE Species = 'Coho'

INSERT INTO tblCatch (SiteID, Species, Weight) SELECT SiteID, SiteName, 1.5 FROM tblSite WHERE SiteName Is Not Null